#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/caption.h"
#include "model/frame_rate.h"

namespace brevelan {

// One recognised word, timed in seconds from the start of the transcribed sound.
struct TimedWord {
  std::string text;
  double start = 0;
  double duration = 0;

  friend bool operator==(const TimedWord&, const TimedWord&) = default;
};

namespace CaptionBuilder {

inline constexpr std::size_t kMaxChars = 42;
inline constexpr double kMaxSeconds = 5.0;
// A pause longer than this between two words starts a new line.
inline constexpr double kBreakingPause = 0.7;
// The least time a line's last word stays on screen.
inline constexpr double kMinLastWord = 0.2;

// Words in order become caption lines: a line ends before a word that would
// make it longer than `maxChars` characters (spaces included), span more than
// `maxSeconds`, or follow a pause longer than 0.7 s. Frames count at `rate`
// and are shifted by `offset`; every caption is at least one frame long.
std::vector<Caption> lines(const std::vector<TimedWord>& words, const FrameRate& rate, std::int64_t offset = 0,
                           std::size_t maxChars = kMaxChars, double maxSeconds = kMaxSeconds);

}  // namespace CaptionBuilder
}  // namespace brevelan
