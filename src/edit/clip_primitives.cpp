#include "edit/clip_primitives.h"

#include <algorithm>

#include "model/rounding.h"

namespace brevelan {

namespace {

bool withinBound(std::int64_t frames) { return frames >= -kFrameBound && frames <= kFrameBound; }

// Source frames the first `frames` timeline frames of a forward clip advance
// by. Unlike consumed() there is no minimum, and a negative count (frames
// before the head) gives a negative advance.
std::int64_t advance(const SpeedSettings& speed, std::int64_t length, std::int64_t frames) {
  if (speed.rampTo) return rampUse(speed.rate, *speed.rampTo, length, frames);
  return roundHalfAway(speed.rate * static_cast<double>(frames));
}

// The speed a ramp has reached `frames` frames after its head, on the same
// straight line (also beyond either end).
double rampSpeedAt(const SpeedSettings& speed, std::int64_t length, std::int64_t frames) {
  const double a = speed.rate;
  const double b = *speed.rampTo;
  return a + (b - a) * static_cast<double>(frames) / static_cast<double>(length);
}

}  // namespace

std::int64_t rampUse(double from, double to, std::int64_t over, std::int64_t frames) {
  const double k = static_cast<double>(frames);
  return roundHalfAway(from * k + (to - from) * k * k / (2 * static_cast<double>(over)));
}

bool hasSourceFrames(const Clip& clip) {
  const auto kind = clip.source.kind();
  return kind == ClipSource::Kind::media || kind == ClipSource::Kind::nested;
}

bool usesExistingSource(const Clip& clip) {
  if (clip.sourceIn < 0) return false;
  return !clip.sourceLimit || clip.sourceIn + clip.speed.consumed(clip.duration) <= *clip.sourceLimit;
}

std::optional<SplitClip> split(const Clip& clip, std::int64_t at) {
  if (!(clip.start < at && at < clip.end())) return std::nullopt;
  const std::int64_t length = clip.duration;
  const std::int64_t leftLength = at - clip.start;

  SplitClip out{clip, clip};
  Clip& left = out.left;
  Clip& right = out.right;
  left.duration = leftLength;
  left.audio.mut().fadeOut = 0;
  right.id = Uuid::make();
  right.start = at;
  right.duration = length - leftLength;
  right.transitionIn.reset();
  right.audio.mut().fadeIn = 0;
  right.audio.mut().volumeKeys.shift(-leftLength);
  right.audio.mut().panKeys.shift(-leftLength);

  if (clip.speed.freeze) return out;
  if (clip.speed.rampTo) {
    const double reached = rampSpeedAt(clip.speed, length, leftLength);
    left.speed.rampTo = reached;
    right.speed.rate = reached;
  }
  if (clip.speed.reverse) {
    // The left piece plays first, so it shows the end of the used source.
    left.sourceIn = clip.sourceIn + clip.speed.consumed(length) - left.speed.consumed(leftLength);
  } else {
    right.sourceIn = clip.sourceIn + advance(clip.speed, length, leftLength);
    // Rounding each piece's use separately can reach one frame past the end
    // of the source at fractional speeds; start that piece a frame earlier.
    if (clip.sourceLimit) {
      const std::int64_t over = right.sourceIn + right.speed.consumed(right.duration) - *clip.sourceLimit;
      if (over > 0) right.sourceIn = std::max(clip.sourceIn, right.sourceIn - over);
    }
  }
  return out;
}

std::optional<Clip> movedHead(const Clip& clip, std::int64_t by) {
  if (!withinBound(by) || clip.duration < 1) return std::nullopt;
  Clip out = clip;
  out.start = clip.start + by;
  out.duration = clip.duration - by;
  if (out.duration < 1 || out.start < 0) return std::nullopt;
  out.audio.mut().volumeKeys.shift(-by);
  out.audio.mut().panKeys.shift(-by);
  if (clip.speed.freeze) return out;

  if (clip.speed.rampTo) {
    out.speed.rate = rampSpeedAt(clip.speed, clip.duration, by);
    if (!(out.speed.rate > 0)) return std::nullopt;
  }
  const std::int64_t used = out.speed.consumed(out.duration);
  if (clip.speed.reverse) {
    // A reversed clip's head shows the end of its source, which stays put.
    if (clip.sourceLimit && out.sourceIn + used > *clip.sourceLimit) return std::nullopt;
    return out;
  }
  out.sourceIn = clip.sourceIn + advance(clip.speed, clip.duration, by);
  if (out.sourceIn < 0) return std::nullopt;
  // One frame of slack: moving a forward head rounds its source use apart
  // from the tail's, and refusing that frame would stall a drag short of the end.
  if (clip.sourceLimit && out.sourceIn + used > *clip.sourceLimit + 1) return std::nullopt;
  return out;
}

std::optional<Clip> withLength(const Clip& clip, std::int64_t length) {
  if (length < 1 || length > kFrameBound || clip.duration < 1) return std::nullopt;
  Clip out = clip;
  out.duration = length;
  if (clip.speed.freeze) return out;

  if (clip.speed.rampTo) {
    out.speed.rampTo = rampSpeedAt(clip.speed, clip.duration, length);
    if (!(*out.speed.rampTo > 0)) return std::nullopt;
  }
  if (clip.speed.reverse) {
    // The used source keeps its end; its start moves instead.
    out.sourceIn = clip.sourceIn + clip.speed.consumed(clip.duration) - out.speed.consumed(length);
    if (out.sourceIn < 0) return std::nullopt;
    return out;
  }
  if (clip.sourceLimit && out.sourceIn + out.speed.consumed(length) > *clip.sourceLimit) return std::nullopt;
  return out;
}

}  // namespace brevelan
