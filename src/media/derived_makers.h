#pragma once

#include <functional>
#include <string>

#include "model/expected.h"
#include "model/media_item.h"

namespace brevelan {

// Progress from 0 to 1; return false to cancel the job.
using DerivedProgress = std::function<bool(double fraction)>;

struct DerivedResult {
  std::string path;  // the finished file, moved into place
  int width = 0;     // stored size of the written picture
  int height = 0;
  double seconds = 0;  // time taken
  double speed = 0;    // movie seconds written per second taken
};

// Writes a 1080p proxy of a movie: QuickTime H.264 at the size rule of
// derived::fitWithin1080p, a key frame every half second so scrubbing seeks
// are short, picture only (sound always plays from the original). Runs on
// the caller's thread; the file appears under its final name only when whole.
class ProxyMaker {
 public:
  static Expected<DerivedResult, std::string> make(const MediaItem& item, const DerivedProgress& progress = {});

  static std::string runningStatus(const MediaItem& item);
  static std::string readyStatus(const MediaItem& item);
  // The measurement line logged when a proxy is done.
  static std::string measurement(const MediaItem& item, const DerivedResult& result);
};

// Writes a copy of a movie with its pictures in reverse order (frame k of the
// copy is frame N−1−k of the source): H.264 at 12 Mbit/s, QuickTime, the size
// rule of derived::fitWithin1080p. The source is read backwards one segment at
// a time, so memory stays at a second or so of 1080p pictures.
class ReverseMaker {
 public:
  static constexpr std::int64_t kBitRate = 12'000'000;
  static constexpr int kSegmentFrames = 30;

  static Expected<DerivedResult, std::string> make(const MediaItem& item, const DerivedProgress& progress = {});

  static std::string runningStatus(const MediaItem& item);
};

}  // namespace brevelan
