#pragma once

#include <optional>

#include "media/picture.h"
#include "model/rgba.h"
#include "picture/affine.h"

// Drawing primitives on 8-bit premultiplied pictures. Coordinates are pixels
// with y growing downward; pixel (x, y) covers the square [x, x+1) × [y, y+1),
// its centre at (x + 0.5, y + 0.5). Pictures of different pixel orders may be
// mixed (the source is reordered to the destination's order first).

namespace brevelan {

// Whole pixels: the top-left corner and the size.
struct PixelRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

// A rectangle with fractional edges, x0 ≤ x1 and y0 ≤ y1; edge pixels count
// by the part of them that lies inside.
struct Box {
  double x0 = 0;
  double y0 = 0;
  double x1 = 0;
  double y1 = 0;
};

// A fully transparent picture.
Picture blankPicture(int width, int height, PixelOrder order = PixelOrder::rgba);

// Sets every pixel to `colour` (straight alpha, 0…1), stored premultiplied.
void fill(Picture& picture, RGBA colour);

// A copy of the part of `picture` inside `rect` (clipped to the picture).
Picture cropped(const Picture& picture, PixelRect rect);

// Source-over of `src`, placed by `srcToDst`, with every component of the
// source multiplied by `opacity` (0…1). Sampling is bilinear when enlarging
// and area-averaged when shrinking, so fine detail does not alias; the edges
// of the placed picture are anti-aliased by how much of each pixel they cover.
void drawOver(Picture& dst, const Picture& src, const Affine& srcToDst, double opacity = 1);

// Like drawOver at full opacity, but the source's edge pixels continue without
// end, so every destination pixel is covered (or only those `within`).
void drawExtended(Picture& dst, const Picture& src, const Affine& srcToDst, std::optional<PixelRect> within = {});

// Source-over of a picture of the same size (only the overlap when not).
void sourceOver(Picture& dst, const Picture& src);
// Source-over of `src` restricted to `within`; both pictures are aligned at
// their top-left corners.
void sourceOver(Picture& dst, const Picture& src, const Box& within);

// Multiplies all four components by w ≥ 0, rounding and saturating at 255.
void scaleIntensity(Picture& picture, double w);
// dst = dst × dstWeight + src × srcWeight per component, rounded once and
// saturating (weights 0…64). Over the overlap when the sizes differ.
void mixInto(Picture& dst, double dstWeight, const Picture& src, double srcWeight);
// dst += src × w.
void addInto(Picture& dst, const Picture& src, double w);
// dst = dst × dstWeight + colour × colourWeight, colour premultiplied.
void mixColor(Picture& dst, double dstWeight, RGBA colour, double colourWeight);

// Gaussian blur with edges clamped (edge pixels repeat outward). Three
// successive box blurs per axis stand in for the Gaussian: the result is within
// a few percent of the true kernel and costs the same for any sigma.
void gaussianBlur(Picture& picture, double sigma);

}  // namespace brevelan
