#pragma once

#include <span>
#include <vector>

namespace brevelan {

// Finds the beats of rendered music: sharp rises of short-window energy above
// the average of the second before. Input is interleaved stereo float at
// 48 000 Hz.
struct BeatDetector {
  // Beat times in seconds from the start of the buffer, ascending, at least
  // minGap seconds apart.
  static std::vector<double> beats(std::span<const float> interleaved, double minGap);
};

}  // namespace brevelan
