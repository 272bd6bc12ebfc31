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
      thresholdLevel_(static_cast<float>(std::pow(10.0, thresholdDB / 20))),
      makeupDB_(makeupDB),
      slope_(1 - 1 / (std::isfinite(ratio) ? std::max(ratio, 1.0) : 1.0)),
      lastGain_(static_cast<float>(std::pow(10.0, makeupDB / 20))) {}

void Compressor::process(std::span<float> interleaved, std::int64_t from, std::int64_t to) {
  const auto frames = static_cast<std::int64_t>(interleaved.size() / 2);
  from = std::max<std::int64_t>(from, 0);
  to = std::min(to, frames);
  float* s = interleaved.data();
  for (std::int64_t n = from; n < to; ++n) {
    float& left = s[2 * n];
    float& right = s[2 * n + 1];
    envelope_ = std::max({std::abs(left), std::abs(right), envelope_ * kDecay});
    float target = 0;
    // Above the threshold in level is above it in dB; only then is the
    // logarithm worth taking (most frames of most material are below).
    if (envelope_ > thresholdLevel_) {
      const double level = 20 * std::log10(std::max<double>(envelope_, 1e-9));
      if (level > thresholdDB_) target = static_cast<float>((level - thresholdDB_) * slope_);
    }
    reductionDB_ += (target > reductionDB_ ? kAttack : kRelease) * (target - reductionDB_);
    if (reductionDB_ != lastReductionDB_) {
      // 10^(x/20) as 2^(x·log2(10)/20), in single precision: the sample is a float.
      lastGain_ = std::exp2(static_cast<float>((makeupDB_ - reductionDB_) * 0.16609640474436813));
      lastReductionDB_ = reductionDB_;
    }
    left *= lastGain_;
    right *= lastGain_;
  }
}

}  // namespace brevelan
