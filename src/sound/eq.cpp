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

// One section's state for one channel, in double.
struct SectionState {
  double z1 = 0;
  double z2 = 0;
};

// Every active band over both channels in one pass. Each band still sees
// exactly the float samples the band before it wrote, and each channel's
// state is its own, so the result equals running the bands one after the
// other over left, then right; one pass keeps the data in registers and
// gives the processor two independent chains to overlap.
void runSections(const BiquadCoef* k, std::size_t count, float* samples, std::size_t frames) {
  std::array<SectionState, kEQFrequencies.size()> left{};
  std::array<SectionState, kEQFrequencies.size()> right{};
  for (std::size_t n = 0; n < frames; ++n) {
    float l = samples[2 * n];
    float r = samples[2 * n + 1];
    for (std::size_t b = 0; b < count; ++b) {
      const BiquadCoef& c = k[b];
      const double xl = l;
      const double xr = r;
      const double yl = c.b0 * xl + left[b].z1;
      const double yr = c.b0 * xr + right[b].z1;
      left[b].z1 = left[b].z2 + c.b1 * xl - c.a1 * yl;
      right[b].z1 = right[b].z2 + c.b1 * xr - c.a1 * yr;
      left[b].z2 = c.b2 * xl - c.a2 * yl;
      right[b].z2 = c.b2 * xr - c.a2 * yr;
      l = static_cast<float>(yl);
      r = static_cast<float>(yr);
    }
    samples[2 * n] = l;
    samples[2 * n + 1] = r;
  }
}

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

void applyEQ(std::span<const double> gains, std::span<float> interleaved) {
  const std::size_t frames = interleaved.size() / 2;
  if (frames < 1) return;
  const std::size_t bands = std::min(gains.size(), kEQFrequencies.size());
  std::array<BiquadCoef, kEQFrequencies.size()> active;
  std::size_t count = 0;
  for (std::size_t i = 0; i < bands; ++i) {
    // A NaN gain would poison every later sample; treat it as off.
    if (!std::isfinite(gains[i]) || std::abs(gains[i]) <= 0.01) continue;
    active[count++] = peakingCoef(kEQFrequencies[i], gains[i]);
  }
  if (count > 0) runSections(active.data(), count, interleaved.data(), frames);
}

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
