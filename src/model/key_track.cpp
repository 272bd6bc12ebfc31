#include "model/key_track.h"

#include <algorithm>

namespace brevelan {

double KeyTrack::value(double at, double fallback) const {
  if (keys.empty()) return fallback;
  if (at <= static_cast<double>(keys.front().frame)) return keys.front().value;
  if (keys.size() == 1 || at >= static_cast<double>(keys.back().frame)) return keys.back().value;
  for (std::size_t i = 0; i + 1 < keys.size(); ++i) {
    const double f0 = static_cast<double>(keys[i].frame);
    const double f1 = static_cast<double>(keys[i + 1].frame);
    if (f0 <= at && at <= f1) {
      if (f1 - f0 < 1) return keys[i + 1].value;
      return keys[i].value + (at - f0) * (keys[i + 1].value - keys[i].value) / (f1 - f0);
    }
  }
  return keys.back().value;
}

void KeyTrack::set(std::int64_t frame, double value) {
  for (auto& key : keys) {
    if (key.frame == frame) {
      key.value = value;
      return;
    }
  }
  keys.push_back({frame, value});
  std::stable_sort(keys.begin(), keys.end(),
                   [](const Keyframe& a, const Keyframe& b) { return a.frame < b.frame; });
}

void KeyTrack::shift(std::int64_t frames) {
  for (auto& key : keys) key.frame += frames;
}

}  // namespace brevelan
