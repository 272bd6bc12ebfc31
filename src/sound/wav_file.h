#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>

#include "model/expected.h"

namespace brevelan {

// Writes interleaved stereo 32-bit float sound at 48 000 Hz as a WAV file
// (IEEE float), chunk by chunk, so a long mix never has to sit in memory whole.
// The sizes in the header are filled in by finish(); a writer dropped before
// that leaves an incomplete file for the caller to remove.
class FloatWavWriter {
 public:
  static Expected<FloatWavWriter, std::string> create(const std::filesystem::path& file);

  Expected<void, std::string> append(std::span<const float> interleaved);
  Expected<void, std::string> finish();

  std::int64_t framesWritten() const { return frames_; }

 private:
  explicit FloatWavWriter(std::ofstream out) : out_(std::move(out)) {}

  std::ofstream out_;
  std::int64_t frames_ = 0;
};

}  // namespace brevelan
