#pragma once

#include <QFile>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "model/expected.h"

namespace brevelan {

// A voice-over take being written: interleaved stereo 32-bit float at
// 48 000 Hz in a Core Audio Format file, the same sound the mixer's stems
// use. Samples go to disk as they arrive, and the sound chunk is marked
// "runs to the end of the file" until finish() writes its true size, so even
// a file left behind by a crash plays back whole.
class VoiceOverFile {
 public:
  static constexpr int kRate = 48000;
  static constexpr int kChannels = 2;

  // Creates (or replaces) the file and writes the header.
  static Expected<std::unique_ptr<VoiceOverFile>, std::string> create(const std::filesystem::path& file);

  Expected<void, std::string> append(std::span<const float> interleaved);
  // Records the sound's size and closes the file; nothing can be appended after.
  Expected<void, std::string> finish();

  std::int64_t frames() const { return frames_; }
  const std::filesystem::path& path() const { return path_; }

 private:
  explicit VoiceOverFile(std::filesystem::path path) : path_(std::move(path)), file_(QString::fromStdString(path_.string())) {}

  std::filesystem::path path_;
  QFile file_;
  std::int64_t frames_ = 0;
};

}  // namespace brevelan
