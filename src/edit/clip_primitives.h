#pragma once

#include <cstdint>
#include <optional>

#include "model/clip.h"

namespace brevelan {

// The three clip changes every trim tool is built from. Each returns the
// changed clip, or nothing when the result would ask for source frames that
// do not exist, start before frame 0 or be shorter than one frame.

// Amounts and lengths beyond this many frames (about 1160 years at 30 fps)
// are refused, so that no sum of frame numbers can overflow.
inline constexpr std::int64_t kFrameBound = std::int64_t{1} << 40;

struct SplitClip {
  Clip left;
  Clip right;
};

// Cuts a clip in two at a timeline frame strictly inside it.
//   |   A   |   split at 50  ->  | A | A' |
// The left piece keeps the id, start and source in, and loses its fade-out;
// the right piece gets a new id, no transition and no fade-in, and its keys
// move so they keep their timeline places. A ramp is cut at the speed it has
// reached, so neither piece changes pace.
std::optional<SplitClip> split(const Clip& clip, std::int64_t at);

// Moves the head edge by `by` frames (later is positive): start and length
// change, the source follows (forward clips) and keys keep their timeline
// places.
//   |  A  |   head by +10  ->    | A |
std::optional<Clip> movedHead(const Clip& clip, std::int64_t by);

// Moves the tail edge so the clip is `length` frames long. A reversed clip
// keeps the end of its used source; a ramp keeps its slope.
//   |  A  |   to 3/4 length  ->  | A |
std::optional<Clip> withLength(const Clip& clip, std::int64_t length);

// Source frames used by the first `frames` frames of a ramp from speed `from`
// to speed `to` over `over` frames: the area under the speed line, rounded.
std::int64_t rampUse(double from, double to, std::int64_t over, std::int64_t frames);

// True for sources that have frames of their own (media files and nested
// sequences); colour mattes and titles are generated and have none.
bool hasSourceFrames(const Clip& clip);

// True when the clip asks only for source frames that exist.
bool usesExistingSource(const Clip& clip);

}  // namespace brevelan
