#include "picture/layer_geometry.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace brevelan {

double kenBurnsProgress(const KenBurns& move, double u) {
  u = std::clamp(u, 0.0, 1.0);
  return move.ease ? u * u * (3 - 2 * u) : u;
}

Affine clipPlacement(const Transform& t, double pictureW, double pictureH, double canvasW, double canvasH, double u) {
  const KenBurns& kb = t.kenBurns;
  const double p = kenBurnsProgress(kb, u);
  const auto lerp = [p](double from, double to) { return from + (to - from) * p; };
  const double sx = pictureW > 0 ? canvasW / pictureW : 0;
  const double sy = pictureH > 0 ? canvasH / pictureH : 0;
  double fitX = sx, fitY = sy;
  if (t.fit == FitMode::fit) fitX = fitY = std::min(sx, sy);
  if (t.fit == FitMode::fill) fitX = fitY = std::max(sx, sy);
  const double zoom = t.scale * lerp(kb.startScale, kb.endScale);
  const double radians = t.rotation * std::numbers::pi / 180;
  // Rows run downward here, so an upward move is −y and a counter-clockwise
  // turn on screen is a negative angle in raster space.
  return translation(-pictureW / 2, -pictureH / 2)
      .then(scaling(fitX * zoom * (t.flipH ? -1 : 1), fitY * zoom))
      .then(rotation(-radians))
      .then(translation(canvasW / 2 + t.x + lerp(kb.startX, kb.endX), canvasH / 2 - t.y - lerp(kb.startY, kb.endY)));
}

PixelRect cropRect(const Transform& t, int width, int height) {
  const auto cut = [](double fraction, int size) { return std::clamp(fraction, 0.0, 1.0) * size; };
  const int x = static_cast<int>(std::lround(cut(t.cropL, width)));
  const int y = static_cast<int>(std::lround(cut(t.cropT, height)));
  const int right = static_cast<int>(std::lround(width - cut(t.cropR, width)));
  const int bottom = static_cast<int>(std::lround(height - cut(t.cropB, height)));
  return {x, y, std::max(0, right - x), std::max(0, bottom - y)};
}

}  // namespace brevelan
