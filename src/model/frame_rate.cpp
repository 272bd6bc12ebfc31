#include "model/frame_rate.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "model/rounding.h"

namespace brevelan {

const std::array<FrameRate, 8>& FrameRate::all() {
  static const std::array<FrameRate, 8> rates{{
      {24000, 1001}, {24, 1}, {25, 1}, {30000, 1001}, {30, 1}, {50, 1}, {60000, 1001}, {60, 1}}};
  return rates;
}

std::string FrameRate::label() const {
  if (den == 1001) {
    if (num == 24000) return "23.976 fps";
    if (num == 30000) return "29.97 fps";
    if (num == 60000) return "59.94 fps";
  }
  if (den == 0) return "0 fps";
  return std::to_string(num / den) + " fps";
}

std::int64_t FrameRate::frames(double seconds) const {
  return static_cast<std::int64_t>(
      std::floor(seconds * static_cast<double>(num) / static_cast<double>(den) + 1e-6));
}

std::int64_t FrameRate::nominalFPS() const {
  return roundHalfAway(static_cast<double>(num) / static_cast<double>(den));
}

std::string FrameRate::timecode(std::int64_t frame) const {
  double exact = static_cast<double>(num) / static_cast<double>(den);
  double rounded = std::round(exact);
  if (!std::isfinite(rounded) || rounded == 0 || std::fabs(rounded) >= 9.2e18) {
    std::fprintf(stderr, "FrameRate::timecode: invalid rate %lld/%lld\n",
                 static_cast<long long>(num), static_cast<long long>(den));
    std::abort();
  }
  const std::int64_t fps = static_cast<std::int64_t>(rounded);
  const std::int64_t f = frame < 0 ? 0 : frame;
  const std::int64_t totalSeconds = f / fps;
  const std::int64_t hours = totalSeconds / 3600;
  const std::int64_t minutes = (totalSeconds / 60) % 60;
  const std::int64_t secs = totalSeconds % 60;
  const std::int64_t frames = f - totalSeconds * fps;
  char text[64];
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld:%02lld", static_cast<long long>(hours),
                static_cast<long long>(minutes), static_cast<long long>(secs),
                static_cast<long long>(frames));
  return text;
}

}  // namespace brevelan
