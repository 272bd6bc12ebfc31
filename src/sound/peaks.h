#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace brevelan {

// Waveform peaks of interleaved stereo float: bucket k holds the largest
// absolute sample of frames k × per … (k + 1) × per − 1, per channel; there
// are frames / per + 1 buckets. per = 0 gives none.
struct StereoPeaks {
  std::vector<float> left;
  std::vector<float> right;
};
StereoPeaks peaks(std::span<const float> interleaved, std::int64_t per);

// The peak level in dB of frames from … to − 1 (to the end without `to`),
// either channel, floored at 10⁻⁹; an empty range is −180 dB.
double peakDB(std::span<const float> interleaved, std::int64_t from, std::optional<std::int64_t> to = std::nullopt);

}  // namespace brevelan
