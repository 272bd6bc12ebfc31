#include "sound/compressor.h"

#include <algorithm>
#include <cmath>

namespace brevelan {
namespace {

constexpr float kDecay = 0.99973965f;      // e^(−1/3840): about 80 ms
constexpr float kAttack = 0.004157998f;    // 1 − e^(−1/240): 5 ms
constexpr float kRelease = 0.00026038277f;  // 1 − e^(−1/3840): 80 ms

}  // namespace

Compressor::Compressor(double thresholdDB, double ratio, double makeupDB)
    : thresholdDB_(thresholdDB),
      makeupDB_(makeupDB),
      slope_(1 - 1 / (std::isfinite(ratio) ? std::max(ratio, 1.0) : 1.0)) {}

void Compressor::process(std::span<float> interleaved, std::int64_t from, std::int64_t to) {
  const auto frames = static_cast<std::int64_t>(interleaved.size() / 2);
  from = std::max<std::int64_t>(from, 0);
  to = std::min(to, frames);
  float* s = interleaved.data();
  for (std::int64_t n = from; n < to; ++n) {
    float& left = s[2 * n];
    float& right = s[2 * n + 1];
    envelope_ = std::max({std::abs(left), std::abs(right), envelope_ * kDecay});
    const double level = 20 * std::log10(std::max<double>(envelope_, 1e-9));
    const auto target = static_cast<float>(level > thresholdDB_ ? (level - thresholdDB_) * slope_ : 0.0);
    reductionDB_ += (target > reductionDB_ ? kAttack : kRelease) * (target - reductionDB_);
    const auto gain = static_cast<float>(std::pow(10.0, (makeupDB_ - reductionDB_) / 20));
    left *= gain;
    right *= gain;
  }
}

}  // namespace brevelan
