#include "sound/noise_gate.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "sound/fast_math.h"

// Every multiply and add rounds on its own, as written, on every processor:
// the functions here are built for several instruction sets, and fusing
// multiply-adds on some would make the sound depend on the machine, and on
// how the compiler happened to arrange each copy of a loop.
#pragma GCC optimize("fp-contract=off")

namespace brevelan {
namespace {

constexpr float kDecay = 0.9995834f;       // e^(−1/2400): about 50 ms
constexpr std::int64_t kHoldFrames = 1440;  // 30 ms
constexpr float kRise = 0.020617818f;       // 1 − e^(−1/48): 1 ms
constexpr float kFall = 0.00052069774f;     // 1 − e^(−1/1920): 40 ms
constexpr std::int64_t kBlock = 256;  // frames per pass

}  // namespace

NoiseGate::NoiseGate(double thresholdDB) : thresholdDB_(thresholdDB), open_(std::pow(10.0, thresholdDB / 20)) {}

// Per block of frames: one serial pass for the envelope, hold and gain (three
// recursions that the processor overlaps), then the gains times the samples
// eight frames at a time. Built twice on x86-64 with GCC: for processors with
// AVX2 and for the baseline; the loader picks one. Both give the same samples.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
__attribute__((target_clones("arch=x86-64-v3", "default")))
#endif
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
  alignas(32) std::array<float, kBlock> gains;
  for (std::int64_t b = from; b < to; b += kBlock) {
    const auto n = static_cast<std::size_t>(std::min(kBlock, to - b));
    float* s = interleaved.data() + 2 * b;
    for (std::size_t i = 0; i < n; ++i) {
      envelope = std::max(std::max(std::abs(s[2 * i]), std::abs(s[2 * i + 1])), envelope * kDecay);
      if (envelope >= open) hold = kHoldFrames;
      const bool on = hold >= 1;
      hold -= on;
      // The gain stays within [0, 1], so it rises exactly when the target is
      // 1 and falls when it is 0: the rate follows the target, off the serial
      // path of the gain.
      const float rate = on ? kRise : kFall;
      gain += rate * ((on ? 1.0f : 0.0f) - gain);
      gains[i] = gain;
    }
    applyFrameGains(s, gains.data(), n);
  }
  envelope_ = envelope;
  gain_ = gain;
  hold_ = hold;
}

}  // namespace brevelan
