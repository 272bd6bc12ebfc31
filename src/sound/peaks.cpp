#include "sound/peaks.h"

#include <algorithm>
#include <cmath>

namespace brevelan {

StereoPeaks peaks(std::span<const float> interleaved, std::int64_t per) {
  StereoPeaks result;
  if (per <= 0) return result;
  const auto frames = static_cast<std::int64_t>(interleaved.size() / 2);
  const auto buckets = static_cast<std::size_t>(frames / per + 1);
  result.left.assign(buckets, 0.0f);
  result.right.assign(buckets, 0.0f);
  for (std::size_t k = 0; k < buckets; ++k) {
    const std::int64_t from = static_cast<std::int64_t>(k) * per;
    const std::int64_t to = std::min(from + per, frames);
    float left = 0, right = 0;
    for (std::int64_t n = from; n < to; ++n) {
      left = std::max(left, std::abs(interleaved[static_cast<std::size_t>(2 * n)]));
      right = std::max(right, std::abs(interleaved[static_cast<std::size_t>(2 * n + 1)]));
    }
    result.left[k] = left;
    result.right[k] = right;
  }
  return result;
}

double peakDB(std::span<const float> interleaved, std::int64_t from, std::optional<std::int64_t> to) {
  const auto frames = static_cast<std::int64_t>(interleaved.size() / 2);
  const std::int64_t a = std::max<std::int64_t>(from, 0);
  const std::int64_t z = std::min(to.value_or(frames), frames);
  if (a >= z) return -180;
  float peak = 0;
  for (auto i = static_cast<std::size_t>(2 * a); i < static_cast<std::size_t>(2 * z); ++i)
    peak = std::max(peak, std::abs(interleaved[i]));
  return 20 * std::log10(std::max(static_cast<double>(peak), 1e-9));
}

}  // namespace brevelan
