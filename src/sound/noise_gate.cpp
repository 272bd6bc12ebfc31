#include "sound/noise_gate.h"

#include <algorithm>
#include <cmath>

namespace brevelan {
namespace {

constexpr float kDecay = 0.9995834f;       // e^(−1/2400): about 50 ms
constexpr std::int64_t kHoldFrames = 1440;  // 30 ms
constexpr float kRise = 0.020617818f;       // 1 − e^(−1/48): 1 ms
constexpr float kFall = 0.00052069774f;     // 1 − e^(−1/1920): 40 ms

}  // namespace

NoiseGate::NoiseGate(double thresholdDB) : thresholdDB_(thresholdDB), open_(std::pow(10.0, thresholdDB / 20)) {}

void NoiseGate::process(std::span<float> interleaved, std::int64_t from, std::int64_t to) {
  const auto frames = static_cast<std::int64_t>(interleaved.size() / 2);
  from = std::max<std::int64_t>(from, 0);
  to = std::min(to, frames);
  // The state lives in locals for the loop: the samples are floats too, so
  // the compiler could not otherwise keep it in registers.
  float envelope = envelope_;
  float gain = gain_;
  std::int64_t hold = hold_;
  const auto open = static_cast<float>(open_);
  float* s = interleaved.data() + 2 * from;
  for (std::int64_t n = from; n < to; ++n, s += 2) {
    envelope = std::max(std::max(std::abs(s[0]), std::abs(s[1])), envelope * kDecay);
    if (envelope >= open) hold = kHoldFrames;
    const float target = hold < 1 ? 0.0f : 1.0f;
    if (hold >= 1) --hold;
    // Rising or falling rate without a branch: with rising the faster, the
    // right step is always the larger one.
    const float d = target - gain;
    gain += std::max(kRise * d, kFall * d);
    s[0] *= gain;
    s[1] *= gain;
  }
  envelope_ = envelope;
  gain_ = gain;
  hold_ = hold;
}

}  // namespace brevelan
