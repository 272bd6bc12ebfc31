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
  float* s = interleaved.data();
  for (std::int64_t n = from; n < to; ++n) {
    float& left = s[2 * n];
    float& right = s[2 * n + 1];
    envelope_ = std::max({std::abs(left), std::abs(right), envelope_ * kDecay});
    float target;
    if (envelope_ >= open_) {
      hold_ = kHoldFrames;
      target = 1;
    } else {
      target = hold_ < 1 ? 0.0f : 1.0f;
    }
    if (target == 1) --hold_;
    gain_ += (target > gain_ ? kRise : kFall) * (target - gain_);
    left *= gain_;
    right *= gain_;
  }
}

}  // namespace brevelan
