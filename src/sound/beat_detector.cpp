#include "sound/beat_detector.h"

#include <cstdint>

namespace brevelan {
namespace {

constexpr std::size_t kWindow = 512;        // frames of one energy value
constexpr std::size_t kHistory = 93;        // windows averaged: about one second
constexpr std::size_t kShortest = 2049;     // fewer frames hold no beat
constexpr double kRate = 48000;

}  // namespace

std::vector<double> BeatDetector::beats(std::span<const float> interleaved, double minGap) {
  std::vector<double> found;
  const std::size_t frames = interleaved.size() / 2;
  if (frames < kShortest) return found;

  std::vector<double> energy(frames / kWindow);
  for (std::size_t k = 0; k < energy.size(); ++k) {
    const float* s = interleaved.data() + 2 * kWindow * k;
    double sum = 0;
    for (std::size_t n = 0; n < kWindow; ++n) {
      const double m = (static_cast<double>(s[2 * n]) + s[2 * n + 1]) * 0.5;
      sum += m * m;
    }
    energy[k] = sum / kWindow;
  }

  // A running sum of the windows before i gives each local average in O(1).
  double history = 0;
  double lastBeat = 0;
  for (std::size_t i = 1; i < energy.size(); ++i) {
    history += energy[i - 1];
    if (i > kHistory) history -= energy[i - 1 - kHistory];
    const double average = history / static_cast<double>(std::min(i, kHistory));
    // A sharp rise, not a sustained loud passage.
    if (energy[i] <= 2 * average + 1e-6 || energy[i] <= 1.5 * energy[i - 1]) continue;
    const double time = static_cast<double>(kWindow * i) / kRate;
    if (!found.empty() && time - lastBeat < minGap) continue;
    found.push_back(time);
    lastBeat = time;
  }
  return found;
}

}  // namespace brevelan
