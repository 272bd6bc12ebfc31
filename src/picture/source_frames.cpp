#include "picture/source_frames.h"

#include <algorithm>
#include <cmath>

namespace brevelan {

double sourcePosition(const Clip& clip, double c) {
  const SpeedSettings& sp = clip.speed;
  const auto sourceIn = static_cast<double>(clip.sourceIn);
  if (sp.freeze) return sourceIn;
  const auto duration = static_cast<double>(clip.duration);
  const double inside = std::clamp(c, 0.0, duration);
  double q = sp.rate * inside;
  if (sp.rampTo && clip.duration >= 1) q += inside * (*sp.rampTo - sp.rate) * inside / (2 * duration);
  q += sp.rate * (c - inside);  // handles run on at the base rate
  if (sp.reverse) {
    // Frame c shows the frame that ends where the sound of c begins, so the
    // first reversed frame is the last consumed one, not one past it.
    q = static_cast<double>(sp.consumed(clip.duration)) - q - 1;
  }
  return sourceIn + q;
}

std::int64_t sourceFrame(const LayerItem& item, std::int64_t f) {
  const double position = sourcePosition(item.clip, static_cast<double>(item.clipFrame(f)));
  const double seconds =
      std::max(position, 0.0) * static_cast<double>(item.rate.den) / static_cast<double>(item.rate.num);
  auto n = static_cast<std::int64_t>(std::floor(seconds * item.video.fileFps + 1e-6));
  n = std::max<std::int64_t>(n, 0);
  if (item.video.reversedCopy && item.video.fileFrames > 0)
    n = std::max<std::int64_t>(item.video.fileFrames - 1 - n, 0);
  return n;
}

}  // namespace brevelan
