#include "app/workspaces/audio_eq_response.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "sound/eq.h"

namespace brevelan {
namespace {

constexpr double kSampleRate = 48000;
constexpr double kLowHz = 20;
constexpr double kHighHz = 20000;

}  // namespace

double eqResponseAt(std::span<const double> gains, double frequency) {
  const double w = 2 * std::numbers::pi * frequency / kSampleRate;
  const std::complex<double> z1 = std::polar(1.0, -w);
  const std::complex<double> z2 = z1 * z1;
  double dB = 0;
  const std::size_t bands = std::min(gains.size(), kEQFrequencies.size());
  for (std::size_t i = 0; i < bands; ++i) {
    if (std::abs(gains[i]) <= 0.01) continue;
    const BiquadCoef c = peakingCoef(kEQFrequencies[i], gains[i]);
    const std::complex<double> h = (c.b0 + c.b1 * z1 + c.b2 * z2) / (1.0 + c.a1 * z1 + c.a2 * z2);
    dB += 20 * std::log10(std::max(std::abs(h), 1e-12));
  }
  return dB;
}

std::vector<std::pair<double, double>> eqResponse(std::span<const double> gains, int points) {
  std::vector<std::pair<double, double>> curve;
  if (points < 2) return curve;
  curve.reserve(static_cast<std::size_t>(points));
  for (int i = 0; i < points; ++i) {
    const double frequency = kLowHz * std::pow(kHighHz / kLowHz, static_cast<double>(i) / (points - 1));
    curve.emplace_back(frequency, eqResponseAt(gains, frequency));
  }
  return curve;
}

}  // namespace brevelan
