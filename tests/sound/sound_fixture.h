#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <span>
#include <vector>

namespace brevelan::testing {

constexpr std::int64_t kSecond = 48000;

// A stereo sine whose peak is `amplitudeDB`, or uniform noise of that peak when hz is 0.
inline std::vector<float> tone(double amplitudeDB, double hz, std::int64_t frames) {
  const double a = std::pow(10.0, amplitudeDB / 20);
  std::mt19937 random(7);
  std::uniform_real_distribution<double> u(-1, 1);
  std::vector<float> out(static_cast<std::size_t>(2 * frames));
  for (std::int64_t n = 0; n < frames; ++n) {
    const double x = hz > 0 ? std::sin(2 * std::numbers::pi * hz * static_cast<double>(n) / kSecond) : u(random);
    out[2 * n] = out[2 * n + 1] = static_cast<float>(a * x);
  }
  return out;
}

// Peak level in dB of one channel (0 left, 1 right) over frames from … to − 1; NaN or inf fails loudly.
inline double peakDB(std::span<const float> s, std::int64_t from, std::int64_t to, int channel = 0) {
  float peak = 1e-20f;
  for (std::int64_t n = from; n < to; ++n) {
    if (!std::isfinite(s[2 * n + channel])) return 1e9;
    peak = std::max(peak, std::abs(s[2 * n + channel]));
  }
  return 20 * std::log10(peak);
}

}  // namespace brevelan::testing
