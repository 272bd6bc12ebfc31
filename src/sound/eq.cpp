#include "sound/eq.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace brevelan {
namespace {

constexpr double kSampleRate = 48000;
constexpr double kPassThroughFrom = 23520;  // 98% of Nyquist

// Third-octave ISO centres from 20 Hz to 20 kHz.
constexpr std::array<double, 31> kThirtyOne{20,   25,   31.5, 40,   50,   63,   80,    100,   125,   160,  200,
                                            250,  315,  400,  500,  630,  800,  1000,  1250,  1600,  2000, 2500,
                                            3150, 4000, 5000, 6300, 8000, 10000, 12500, 16000, 20000};

// Left and right in one register: both channels run the same section with
// their own state, so each step does the two channels' arithmetic at once.
using Pair = double __attribute__((vector_size(16)));

}  // namespace

BiquadCoef peakingCoef(double frequency, double gainDB) {
  if (frequency >= kPassThroughFrom) return {};
  const double gain = std::clamp(gainDB, -12.0, 12.0);
  const double a = std::pow(10.0, gain / 40);
  const double w = 2 * std::numbers::pi * frequency / kSampleRate;
  const double alpha = std::sin(w) / 2.82;
  const double n = 1 + alpha / a;
  BiquadCoef k;
  k.b0 = (1 + alpha * a) / n;
  k.b1 = -2 * std::cos(w) / n;
  k.b2 = (1 - alpha * a) / n;
  k.a1 = k.b1;
  k.a2 = (1 - alpha / a) / n;
  return k;
}

EQChain::EQChain(std::span<const double> gains) {
  const std::size_t bands = std::min(gains.size(), kEQFrequencies.size());
  for (std::size_t i = 0; i < bands; ++i) {
    // A NaN gain would poison every later sample; treat it as off.
    if (!std::isfinite(gains[i]) || std::abs(gains[i]) <= 0.01) continue;
    bands_[count_++] = peakingCoef(kEQFrequencies[i], gains[i]);
  }
}

// Every active band in one pass over the frames. Each band still sees exactly
// the float samples the band before it wrote, as if the bands ran one after
// the other; one pass keeps the data in registers and lets the processor
// overlap the bands' dependency chains.
// Built twice on x86-64 with GCC: for processors with AVX2 and FMA (fused
// multiply-adds shorten each band's chain) and for the baseline; the loader
// picks one.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
__attribute__((target_clones("arch=x86-64-v3", "default")))
#endif
void EQChain::process(std::span<float> interleaved) {
  const std::size_t frames = interleaved.size() / 2;
  if (count_ == 0 || frames < 1) return;
  std::array<Pair, 10> z1, z2, b0, b1, b2, a1, a2;
  for (std::size_t b = 0; b < count_; ++b) {
    z1[b] = Pair{z1l_[b], z1r_[b]};
    z2[b] = Pair{z2l_[b], z2r_[b]};
    const BiquadCoef& c = bands_[b];
    b0[b] = Pair{c.b0, c.b0};
    b1[b] = Pair{c.b1, c.b1};
    b2[b] = Pair{c.b2, c.b2};
    a1[b] = Pair{c.a1, c.a1};
    a2[b] = Pair{c.a2, c.a2};
  }
  float* s = interleaved.data();
  for (std::size_t n = 0; n < frames; ++n, s += 2) {
    Pair x{s[0], s[1]};
    for (std::size_t b = 0; b < count_; ++b) {
      const Pair y = b0[b] * x + z1[b];
      z1[b] = z2[b] + b1[b] * x - a1[b] * y;
      z2[b] = b2[b] * x - a2[b] * y;
      // Each band hands on a 32-bit sample, as a stored buffer would.
      x = Pair{static_cast<float>(y[0]), static_cast<float>(y[1])};
    }
    s[0] = static_cast<float>(x[0]);
    s[1] = static_cast<float>(x[1]);
  }
  for (std::size_t b = 0; b < count_; ++b) {
    z1l_[b] = z1[b][0];
    z1r_[b] = z1[b][1];
    z2l_[b] = z2[b][0];
    z2r_[b] = z2[b][1];
  }
}

void applyEQ(std::span<const double> gains, std::span<float> interleaved) { EQChain(gains).process(interleaved); }

std::span<const double> eqFrequencies(EQMode mode) {
  if (mode == EQMode::thirtyOne) return kThirtyOne;
  return kEQFrequencies;
}

std::string eqLabel(double frequency) {
  char text[48];
  if (frequency >= 1000) {
    const double k = frequency / 1000;
    if (k == std::floor(k))
      std::snprintf(text, sizeof text, "%lldk", static_cast<long long>(k));
    else
      std::snprintf(text, sizeof text, "%.1fk", k);
  } else if (frequency == std::floor(frequency)) {
    std::snprintf(text, sizeof text, "%lld", static_cast<long long>(frequency));
  } else {
    std::snprintf(text, sizeof text, "%.1f", frequency);
  }
  return text;
}

}  // namespace brevelan
