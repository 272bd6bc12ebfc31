#pragma once

#include <cstdint>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "model/expected.h"
#include "model/media_item.h"

namespace brevelan {

// The decoded sound of one media file (or, for the mixer, of a nested
// sequence): interleaved stereo 32-bit float at 48 000 Hz. Immutable once made.
struct PCMSource {
  std::int64_t frames = 0;  // stereo frames; data holds 2 × frames floats
  std::vector<float> data;
};

// Decodes each file's sound once and shares it. Thread-safe: callers asking
// for a file being decoded wait for that one decode, which runs outside the
// lock so other files are served meanwhile. A failed decode is not kept, so
// a file that appears later is tried again.
class AudioCache {
 public:
  static constexpr std::int64_t kPeakFrames = 480;

  using Result = Expected<std::shared_ptr<const PCMSource>, std::string>;

  static AudioCache& shared();

  Result source(const std::string& path);
  // Waveform peaks of a media item's sound for the bin and the timeline: one
  // value per 480 frames (100 a second), the largest absolute sample of both
  // channels. Null when the item has no sound or it cannot be decoded.
  std::shared_ptr<const std::vector<float>> peaks(const MediaItem& item);
  void forget(const std::string& path);
  // Decodes run so far (the cache's own measure of its hits).
  std::int64_t decodes() const;

 private:
  mutable std::mutex lock_;
  std::map<std::string, std::shared_future<Result>> sources_;
  std::map<std::string, std::shared_ptr<const std::vector<float>>> peaks_;
  std::int64_t decodes_ = 0;
};

}  // namespace brevelan
