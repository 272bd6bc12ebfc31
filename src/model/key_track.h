#pragma once

#include <cstdint>
#include <vector>

namespace brevelan {

// One key of a keyframed parameter; the frame counts from the clip's first
// frame so that keys move with the clip.
struct Keyframe {
  std::int64_t frame = 0;
  double value = 0;

  friend bool operator==(const Keyframe&, const Keyframe&) = default;
};

// A keyframed parameter: keys sorted by frame, at most one per frame.
struct KeyTrack {
  std::vector<Keyframe> keys;

  bool empty() const { return keys.empty(); }

  // Straight lines between keys, held outside them; `fallback` without keys.
  double value(double at, double fallback) const;
  // Adds a key, or replaces the value of the key at that frame.
  void set(std::int64_t frame, double value);
  // Moves every key by `frames`.
  void shift(std::int64_t frames);

  friend bool operator==(const KeyTrack&, const KeyTrack&) = default;
};

}  // namespace brevelan
