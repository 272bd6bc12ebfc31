#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "model/media_time.h"

namespace brevelan {

// The timebase of a sequence: exactly num / den frames per second. NTSC rates
// are never decimals (29.97 fps is 30000/1001). Every position and length in a
// sequence is a whole number of these frames.
struct FrameRate {
  std::int64_t num = 30;
  std::int64_t den = 1;

  // The eight rates offered for new sequences, in menu order.
  static const std::array<FrameRate, 8>& all();

  // "23.976 fps", "29.97 fps", "59.94 fps" for the exact NTSC pairs; otherwise
  // the truncated integer quotient followed by " fps".
  std::string label() const;

  // Frame f as exact media time f × den / num; no floating-point step.
  MediaTime time(std::int64_t frame) const { return MediaTime{frame * den, num}; }

  double seconds(std::int64_t frame) const {
    return static_cast<double>(frame) * static_cast<double>(den) / static_cast<double>(num);
  }

  // floor(seconds × num / den + 1e-6): the epsilon lets a length that is a whole
  // number of frames, computed slightly low in floating point, count as whole.
  std::int64_t frames(double seconds) const;

  // num / den rounded to the nearest integer, halves away from zero (30 for 29.97).
  // Timecode and default lengths given in seconds count in these frames.
  std::int64_t nominalFPS() const;

  // Non-drop-frame "HH:MM:SS:FF"; negative frames print as 00:00:00:00.
  // A rate whose nominal count is zero or not representable stops the program.
  std::string timecode(std::int64_t frame) const;

  friend bool operator==(const FrameRate&, const FrameRate&) = default;
};

}  // namespace brevelan

template <>
struct std::hash<brevelan::FrameRate> {
  std::size_t operator()(const brevelan::FrameRate& r) const noexcept {
    return std::hash<std::int64_t>()(r.num) * 31 + std::hash<std::int64_t>()(r.den);
  }
};
