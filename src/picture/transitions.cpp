#include "picture/transitions.h"

#include <algorithm>
#include <cmath>

#include "picture/raster.h"

namespace brevelan {
namespace {

// A canvas-size copy of the picture, transparent where it has nothing.
Picture onCanvas(const Picture* p, int width, int height, PixelOrder order) {
  if (p && p->width == width && p->height == height) return reordered(*p, order);
  Picture out = blankPicture(width, height, order);
  if (p) sourceOver(out, *p);
  return out;
}

// The on-screen direction as a unit step in raster space (rows run downward).
struct Step {
  double x = 0;
  double y = 0;
};

Step stepOf(Direction direction) {
  switch (direction) {
    case Direction::left: return {-1, 0};
    case Direction::right: return {1, 0};
    case Direction::up: return {0, -1};
    case Direction::down: return {0, 1};
  }
  return {};
}

// The band of B a wipe shows, in raster space.
Box wipeBand(Direction direction, double p, int width, int height) {
  const double w = width, h = height;
  switch (direction) {
    case Direction::left: return {(1 - p) * w, 0, w, h};
    case Direction::right: return {0, 0, p * w, h};
    case Direction::up: return {0, (1 - p) * h, w, h};
    case Direction::down: return {0, 0, w, p * h};
  }
  return {};
}

// out × (1 − p) + B × p, B transparent where it has nothing.
void fadeInto(Picture& out, const Picture* b, double p) {
  if (!b) {
    scaleIntensity(out, 1 - p);
  } else if (b->width == out.width && b->height == out.height) {
    mixInto(out, 1 - p, *b, p);
  } else {
    mixInto(out, 1 - p, onCanvas(b, out.width, out.height, out.order), p);
  }
}

}  // namespace

double transitionProgress(std::int64_t frame, std::int64_t start, std::int64_t end) {
  const double span = static_cast<double>(std::max<std::int64_t>(end - start, 1) + 1);
  return std::clamp(static_cast<double>(frame - start + 1) / span, 0.0, 1.0);
}

Picture blendTransition(const Transition& transition, const Picture* a, const Picture* b, double progress, int width,
                        int height) {
  const double p = std::clamp(progress, 0.0, 1.0);
  const PixelOrder order = a ? a->order : b ? b->order : PixelOrder::rgba;
  width = std::max(width, 0);
  height = std::max(height, 0);
  const Step step = stepOf(transition.direction);
  // Push and slide move B in from the side opposite to the direction of
  // travel. The moves snap to whole pixels: the pictures stay sharp instead of
  // being resampled half a pixel off, and their rows are copied as they are.
  // A and B snap alike (their offsets differ by a whole canvas), so no seam opens.
  const auto snapped = [](double offset) { return std::floor(offset + 0.5); };
  const Affine moveA = translation(snapped(p * step.x * width), snapped(p * step.y * height));
  const Affine moveB = translation(snapped((p - 1) * step.x * width), snapped((p - 1) * step.y * height));

  switch (transition.kind) {
    case TransitionKind::crossfade: {
      Picture out = onCanvas(a, width, height, order);
      fadeInto(out, b, p);
      return out;
    }
    case TransitionKind::dipToColor: {
      // Out to the colour over the first half, in from it over the second.
      if (p < 0.5) {
        Picture out = onCanvas(a, width, height, order);
        mixColor(out, 1 - 2 * p, transition.color, 2 * p);
        return out;
      }
      Picture out = onCanvas(b, width, height, order);
      mixColor(out, 2 * p - 1, transition.color, 2 - 2 * p);
      return out;
    }
    case TransitionKind::wipe: {
      Picture out = onCanvas(a, width, height, order);
      if (b) sourceOver(out, *b, wipeBand(transition.direction, p, width, height));
      return out;
    }
    case TransitionKind::push: {
      Picture out = blankPicture(width, height, order);
      if (a) drawOver(out, *a, moveA);
      if (b) drawOver(out, *b, moveB);
      return out;
    }
    case TransitionKind::zoom: {
      // A grows about the canvas centre while fading; B fades in on top by addition.
      Picture out = blankPicture(width, height, order);
      const double zoom = 1 + 0.6 * p;
      const Affine aboutCentre = translation(-width / 2.0, -height / 2.0)
                                     .then(scaling(zoom, zoom))
                                     .then(translation(width / 2.0, height / 2.0));
      if (a) drawOver(out, *a, aboutCentre);
      fadeInto(out, b, p);
      return out;
    }
    case TransitionKind::slide: {
      Picture out = onCanvas(a, width, height, order);
      if (b) drawOver(out, *b, moveB);
      return out;
    }
  }
  return blankPicture(width, height, order);
}

}  // namespace brevelan
