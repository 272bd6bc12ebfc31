#include "sound/compressor.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "sound/fast_math.h"

// Eight-float values pass between always-inlined helpers only (see fast_math.h).
#pragma GCC diagnostic ignored "-Wpsabi"

// Every multiply and add rounds on its own, as written, on every processor:
// the functions here are built for several instruction sets, and fusing
// multiply-adds on some would make the sound depend on the machine, and on
// how the compiler happened to arrange each copy of a loop.
#pragma GCC optimize("fp-contract=off")

namespace brevelan {
namespace {

constexpr float kDecay = 0.99973965f;      // e^(−1/3840): about 80 ms
constexpr float kAttack = 0.004157998f;    // 1 − e^(−1/240): 5 ms
constexpr float kRelease = 0.00026038277f;  // 1 − e^(−1/3840): 80 ms
// 20·log10(x) = 20·log10(2)·log2(x), and 10^(x/20) = 2^(x·log2(10)/20).
constexpr float kDBPerOctave = 6.0205999f;
constexpr float kOctavesPerDB = 0.16609640f;
constexpr std::int64_t kBlock = 256;  // frames per pass: a few kilobytes of work arrays, in cache

}  // namespace

Compressor::Compressor(double thresholdDB, double ratio, double makeupDB)
    : thresholdDB_(thresholdDB),
      makeupDB_(makeupDB),
      slope_(1 - 1 / (std::isfinite(ratio) ? std::max(ratio, 1.0) : 1.0)) {}

// Per block of frames: the envelope (a serial recursion, but a cheap one),
// then in vector passes its level and the target reduction, the reduction
// (serial), and in vector passes again the gain and its product with the
// samples. The logarithm and power, most of the work, run eight frames at a
// time. The two serial recursions run in one loop, the reduction over one
// block beside the envelope over the next, so the processor overlaps them.
// Each frame gets exactly the arithmetic it would get frame by frame, so the
// result does not depend on where blocks or calls begin.
// Built twice on x86-64 with GCC: for processors with AVX2 (eight lanes in
// one register) and for the baseline; the loader picks one. Both give the
// same samples.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
__attribute__((target_clones("arch=x86-64-v3", "default")))
#endif
void Compressor::process(std::span<float> interleaved, std::int64_t from, std::int64_t to) {
  const auto frames = static_cast<std::int64_t>(interleaved.size() / 2);
  from = std::max<std::int64_t>(from, 0);
  to = std::min(to, frames);
  if (from >= to) return;
  // The state lives in locals for the loops: the samples are floats too, so
  // the compiler could not otherwise keep it in registers.
  float envelope = envelope_;
  float reduction = reductionDB_;
  const auto threshold = static_cast<float>(thresholdDB_);
  const auto slope = static_cast<float>(slope_);
  const auto makeup = static_cast<float>(makeupDB_);
  // Per frame of a block: the envelope, then the reduction, then the gain
  // (two blocks in flight); and the target reduction.
  alignas(32) std::array<std::array<float, kBlock>, 2> level;
  alignas(32) std::array<float, kBlock> target;
  const auto length = [&](std::int64_t b) {
    return static_cast<std::size_t>(std::clamp<std::int64_t>(to - b, 0, kBlock));
  };
  const auto samples = [&](std::int64_t b) { return interleaved.data() + 2 * b; };
  const auto envelopeAt = [&](const float* s, std::size_t i) {
    return std::max(std::max(std::abs(s[2 * i]), std::abs(s[2 * i + 1])), envelope * kDecay);
  };
  // reduction += c·(target − reduction) with c the attack rate while the
  // target is above and the release rate while below (a select, not a jump:
  // near the threshold the choice flips from frame to frame).
  const auto reductionAt = [&](std::size_t i) {
    return reduction + (target[i] > reduction ? kAttack : kRelease) * (target[i] - reduction);
  };

  {
    const float* s = samples(from);
    for (std::size_t i = 0, n = length(from); i < n; ++i) level[0][i] = envelope = envelopeAt(s, i);
  }
  for (std::int64_t b = from, k = 0; b < to; b += kBlock, k ^= 1) {
    std::array<float, kBlock>& here = level[static_cast<std::size_t>(k)];
    std::array<float, kBlock>& next = level[static_cast<std::size_t>(k ^ 1)];
    const std::size_t n = length(b), m = length(b + kBlock);
    const std::size_t padded = (n + kFloatsLanes - 1) / kFloatsLanes * kFloatsLanes;
    std::fill(here.begin() + static_cast<std::ptrdiff_t>(n), here.begin() + static_cast<std::ptrdiff_t>(padded), 1.0f);
    for (std::size_t i = 0; i < padded; i += kFloatsLanes) {
      const Floats dB = kDBPerOctave * fastLog2(maxOf(loadFloats(&here[i]), splat(1e-9f)));
      storeFloats(&target[i], maxOf(dB - threshold, splat(0.0f)) * slope);
    }
    const float* upcoming = m > 0 ? samples(b + kBlock) : nullptr;
    std::size_t i = 0;
    for (; i < std::min(n, m); ++i) {
      here[i] = reduction = reductionAt(i);
      next[i] = envelope = envelopeAt(upcoming, i);
    }
    for (std::size_t j = i; j < n; ++j) here[j] = reduction = reductionAt(j);
    for (std::size_t j = i; j < m; ++j) next[j] = envelope = envelopeAt(upcoming, j);
    for (std::size_t j = 0; j < padded; j += kFloatsLanes)
      storeFloats(&here[j], fastExp2((makeup - loadFloats(&here[j])) * kOctavesPerDB));
    applyFrameGains(samples(b), here.data(), n);
  }
  envelope_ = envelope;
  reductionDB_ = reduction;
}

}  // namespace brevelan
