#pragma once

#include <cstdint>
#include <optional>

namespace brevelan {

// Playback speed of a clip. With rampTo set, the speed runs in a straight line
// from `rate` at the clip's first frame to `rampTo` at its end.
struct SpeedSettings {
  double rate = 1;
  bool reverse = false;
  bool freeze = false;
  std::optional<double> rampTo;

  // Source frames that n timeline frames use: 1 when frozen, else round(n × rate)
  // or the area under the ramp, never less than 1. Reverse does not change it.
  // Trim limits, the composition and the mixer all count source use with this.
  std::int64_t consumed(std::int64_t n) const;

  // rate, or the mean of the two ends for a ramp.
  double averageRate() const { return rampTo ? (rate + *rampTo) / 2 : rate; }

  friend bool operator==(const SpeedSettings&, const SpeedSettings&) = default;
};

}  // namespace brevelan
