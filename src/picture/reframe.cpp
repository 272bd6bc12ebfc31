#include "picture/reframe.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "model/rgba.h"
#include "picture/raster.h"

namespace brevelan {
namespace {

// Centre of the picture onto the centre of a w × h target, scaled.
Affine centred(double scale, double pictureW, double pictureH, double w, double h) {
  return translation(-pictureW / 2, -pictureH / 2).then(scaling(scale, scale)).then(translation(w / 2, h / 2));
}

Picture blackPicture(int w, int h, PixelOrder order) {
  Picture p(w, h, order);
  fill(p, RGBA::black());
  return p;
}

bool opaque(const Picture& p) {
  const std::uint8_t* q = p.pixels.get();
  unsigned all = 255;
  for (std::size_t i = 3; i < p.bytes(); i += 4) all &= q[i];
  return all == 255;
}

// fitBlur: the frame filling the output, its edges extended, blurred with
// sigma = 3 % of the output width and darkened to 55 %, over black; the frame
// fitted inside on top. A blur that wide leaves nothing finer than a few
// pixels, so it is made at a fraction of the output size and enlarged
// afterwards, which looks the same and costs a small part of a full-size blur.
Picture fitOverBlur(const Picture& canvas, int w, int h, double fitScale, double fillScale) {
  const double sigma = w * 0.03;
  const int shrink = std::clamp(static_cast<int>(sigma / 8), 1, 8);
  const double smallSigma = sigma / shrink;
  // Room for the blur to read real (or extended) pixels past the output edges.
  const int margin = static_cast<int>(std::ceil(3 * smallSigma));
  const int bw = (w + shrink - 1) / shrink + 2 * margin, bh = (h + shrink - 1) / shrink + 2 * margin;
  Picture small = blankPicture(bw, bh, canvas.order);
  drawExtended(small, canvas, centred(fillScale / shrink, canvas.width, canvas.height, bw, bh));
  gaussianBlur(small, smallSigma);
  scaleIntensity(small, 0.55);
  // Over black while still small; the enlarged result is then opaque and its
  // rows are copied rather than blended.
  Picture background = blackPicture(bw, bh, canvas.order);
  sourceOver(background, small);

  Picture out = blackPicture(w, h, canvas.order);
  const Affine enlarge = centred(shrink, bw, bh, w, h);
  const Affine fitted = centred(fitScale, canvas.width, canvas.height, w, h);
  if (opaque(canvas)) {
    // An opaque frame hides the background wherever it covers whole pixels:
    // enlarge the background only into the bars around that.
    const Point a = fitted.apply({0, 0}), b = fitted.apply({static_cast<double>(canvas.width), static_cast<double>(canvas.height)});
    const int x0 = std::clamp(static_cast<int>(std::ceil(std::min(a.x, b.x) - 1e-9)), 0, w);
    const int x1 = std::clamp(static_cast<int>(std::floor(std::max(a.x, b.x) + 1e-9)), x0, w);
    const int y0 = std::clamp(static_cast<int>(std::ceil(std::min(a.y, b.y) - 1e-9)), 0, h);
    const int y1 = std::clamp(static_cast<int>(std::floor(std::max(a.y, b.y) + 1e-9)), y0, h);
    for (const PixelRect bar : {PixelRect{0, 0, w, y0}, PixelRect{0, y1, w, h - y1}, PixelRect{0, y0, x0, y1 - y0},
                                PixelRect{x1, y0, w - x1, y1 - y0}})
      if (bar.width > 0 && bar.height > 0) drawExtended(out, background, enlarge, bar);
  } else {
    drawExtended(out, background, enlarge);
  }
  drawOver(out, canvas, fitted);
  return out;
}

}  // namespace

Picture reframe(const Picture& canvas, int outW, int outH, Reframe mode) {
  if (canvas.width == outW && canvas.height == outH) return reordered(canvas, canvas.order);
  outW = std::max(outW, 0);
  outH = std::max(outH, 0);
  const double sx = canvas.width > 0 ? static_cast<double>(outW) / canvas.width : 0;
  const double sy = canvas.height > 0 ? static_cast<double>(outH) / canvas.height : 0;
  const double fitScale = std::min(sx, sy), fillScale = std::max(sx, sy);
  switch (mode) {
    case Reframe::fill: {
      Picture out = blankPicture(outW, outH, canvas.order);
      drawOver(out, canvas, centred(fillScale, canvas.width, canvas.height, outW, outH));
      return out;
    }
    case Reframe::fitBlur: {
      if (outW == 0 || outH == 0 || canvas.empty()) return blackPicture(outW, outH, canvas.order);
      return fitOverBlur(canvas, outW, outH, fitScale, fillScale);
    }
    case Reframe::fit: break;
  }
  Picture out = blackPicture(outW, outH, canvas.order);
  drawOver(out, canvas, centred(fitScale, canvas.width, canvas.height, outW, outH));
  return out;
}

std::optional<Reframe> reframeNamed(std::string_view name) {
  if (name == "fit") return Reframe::fit;
  if (name == "fitBlur") return Reframe::fitBlur;
  if (name == "fill") return Reframe::fill;
  return std::nullopt;
}

}  // namespace brevelan
