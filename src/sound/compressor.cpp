#include "sound/compressor.h"

#include <algorithm>
#include <cmath>

#include "sound/fast_math.h"

namespace brevelan {
namespace {

constexpr float kDecay = 0.99973965f;      // e^(−1/3840): about 80 ms
constexpr float kAttack = 0.004157998f;    // 1 − e^(−1/240): 5 ms
constexpr float kRelease = 0.00026038277f;  // 1 − e^(−1/3840): 80 ms
// 20·log10(x) = 20·log10(2)·log2(x), and 10^(x/20) = 2^(x·log2(10)/20).
constexpr float kDBPerOctave = 6.0205999f;
constexpr float kOctavesPerDB = 0.16609640f;

}  // namespace

Compressor::Compressor(double thresholdDB, double ratio, double makeupDB)
    : thresholdDB_(thresholdDB),
      makeupDB_(makeupDB),
      slope_(1 - 1 / (std::isfinite(ratio) ? std::max(ratio, 1.0) : 1.0)) {}

void Compressor::process(std::span<float> interleaved, std::int64_t from, std::int64_t to) {
  const auto frames = static_cast<std::int64_t>(interleaved.size() / 2);
  from = std::max<std::int64_t>(from, 0);
  to = std::min(to, frames);
  // The state lives in locals for the loop: the samples are floats too, so
  // the compiler could not otherwise keep it in registers.
  float envelope = envelope_;
  float reduction = reductionDB_;
  const auto threshold = static_cast<float>(thresholdDB_);
  const auto slope = static_cast<float>(slope_);
  const auto makeup = static_cast<float>(makeupDB_);
  float* s = interleaved.data() + 2 * from;
  for (std::int64_t n = from; n < to; ++n, s += 2) {
    envelope = std::max(std::max(std::abs(s[0]), std::abs(s[1])), envelope * kDecay);
    // Everything per frame is computed without a branch: near the threshold
    // the choices flip from frame to frame, and a mispredicted jump costs
    // more than the arithmetic it would skip.
    const float level = kDBPerOctave * fastLog2(std::max(envelope, 1e-9f));
    const float target = std::max(level - threshold, 0.0f) * slope;
    // Attack while the target is above, release while below: with the attack
    // the faster rate, that is always the larger of the two steps.
    const float d = target - reduction;
    reduction += std::max(kAttack * d, kRelease * d);
    const float gain = fastExp2((makeup - reduction) * kOctavesPerDB);
    s[0] *= gain;
    s[1] *= gain;
  }
  envelope_ = envelope;
  reductionDB_ = reduction;
}

}  // namespace brevelan
