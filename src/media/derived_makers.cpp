#include "media/derived_makers.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "media/derived_files.h"
#include "media/frame_converter.h"
#include "media/media_writer.h"
#include "media/video_reader.h"
#include "model/file_error.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// Removes the half-written file unless the job got as far as moving it.
class PartFile {
 public:
  explicit PartFile(fs::path path) : path_(std::move(path)) {}
  ~PartFile() {
    std::error_code ec;
    if (!kept_) fs::remove(path_, ec);
  }
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;
  const fs::path& path() const { return path_; }
  Expected<void, std::string> moveTo(const fs::path& finalPath) {
    std::error_code ec;
    fs::rename(path_, finalPath, ec);
    if (ec) return Unexpected{"cannot move " + path_.string() + " into place: " + ec.message()};
    kept_ = true;
    return {};
  }

 private:
  fs::path path_;
  bool kept_ = false;
};

std::string fileName(const MediaItem& item) { return fs::path(item.path).filename().string(); }

struct Job {
  std::unique_ptr<VideoReader> reader;
  derived::Size size;
};

Expected<Job, std::string> openSource(const MediaItem& item, const fs::path& folder) {
  auto reader = VideoReader::open(item.path);
  if (!reader) return Unexpected{reader.error()};
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (ec) return Unexpected{"cannot make the folder " + folder.string() + ": " + ec.message()};
  Job job;
  job.size = derived::fitWithin1080p((*reader)->storedWidth(), (*reader)->storedHeight());
  job.reader = std::move(reader.value());
  return job;
}

bool report(const DerivedProgress& progress, double fraction) { return !progress || progress(std::min(1.0, fraction)); }

DerivedResult finishedResult(const fs::path& path, const Job& job, Clock::time_point began) {
  DerivedResult result;
  result.path = path.string();
  result.width = job.size.width;
  result.height = job.size.height;
  result.seconds = std::chrono::duration<double>(Clock::now() - began).count();
  const double movieSeconds = static_cast<double>(job.reader->lastIndex() + 1) / job.reader->fps();
  result.speed = result.seconds > 0 ? movieSeconds / result.seconds : 0;
  return result;
}

}  // namespace

Expected<DerivedResult, std::string> ProxyMaker::make(const MediaItem& item, const DerivedProgress& progress) {
  const Clock::time_point began = Clock::now();
  auto job = openSource(item, derived::proxiesFolder());
  if (!job) return Unexpected{job.error()};
  VideoReader& reader = *job->reader;
  const fs::path finalPath = derived::proxyPath(item);
  PartFile part(derived::partPath(finalPath));

  VideoFormat format;
  format.width = job->size.width;
  format.height = job->size.height;
  format.rate = reader.frameRate();
  format.quality = 23;
  format.keyInterval = std::max(1, static_cast<int>(std::lround(reader.fps() / 2)));
  format.preset = "superfast";
  format.rotation = reader.rotation();
  auto writer = MediaWriter::create(part.path(), format, std::nullopt);
  if (!writer) return Unexpected{writer.error()};

  const double total = static_cast<double>(std::max<std::int64_t>(1, reader.frameCount()));
  for (std::int64_t n = 0;; ++n) {
    const AVFrame* frame = reader.decoded(n);
    if (!frame || (reader.lastIndex() >= 0 && n > reader.lastIndex())) break;
    auto added = (*writer)->addFrame(frame);
    if (!added) return Unexpected{added.error()};
    if (!report(progress, static_cast<double>(n + 1) / total)) return Unexpected{std::string("cancelled")};
  }
  if ((*writer)->picturesWritten() == 0) return Unexpected{item.path + ": no picture decodes"};
  auto finished = (*writer)->finish();
  if (!finished) return Unexpected{finished.error()};
  writer->reset();
  auto moved = part.moveTo(finalPath);
  if (!moved) return Unexpected{moved.error()};
  report(progress, 1.0);
  return finishedResult(finalPath, *job, began);
}

std::string ProxyMaker::runningStatus(const MediaItem& item) {
  return "Making a 1080p proxy of " + curlyQuoted(fileName(item));
}

std::string ProxyMaker::readyStatus(const MediaItem& item) { return "Proxy ready for " + curlyQuoted(fileName(item)); }

std::string ProxyMaker::measurement(const MediaItem& item, const DerivedResult& result) {
  char line[512];
  std::snprintf(line, sizeof line, "proxy for %s: %dx%d in %.1f s (%.1f× real time)", fileName(item).c_str(),
                result.width, result.height, result.seconds, result.speed);
  return line;
}

Expected<DerivedResult, std::string> ReverseMaker::make(const MediaItem& item, const DerivedProgress& progress) {
  const Clock::time_point began = Clock::now();
  auto job = openSource(item, derived::reversedFolder());
  if (!job) return Unexpected{job.error()};
  VideoReader& reader = *job->reader;
  const fs::path finalPath = derived::reversedPath(item);
  PartFile part(derived::partPath(finalPath));

  // The container's frame count may overstate; asking for the last frame
  // finds the true end.
  std::int64_t last = std::max<std::int64_t>(0, reader.frameCount() - 1);
  if (!reader.decoded(last)) return Unexpected{item.path + ": no picture decodes"};
  if (reader.decodedIndex() < last) last = reader.decodedIndex();

  VideoFormat format;
  format.width = job->size.width;
  format.height = job->size.height;
  format.rate = reader.frameRate();
  format.bitRate = kBitRate;
  format.keyInterval = std::max(1, static_cast<int>(std::lround(reader.fps())));
  format.rotation = reader.rotation();
  auto writer = MediaWriter::create(part.path(), format, std::nullopt);
  if (!writer) return Unexpected{writer.error()};

  FrameScaler scaler(job->size.width, job->size.height);
  std::vector<ff::FramePtr> segment;
  const double total = static_cast<double>(last + 1);
  for (std::int64_t end = last + 1; end > 0; end -= kSegmentFrames) {
    const std::int64_t start = std::max<std::int64_t>(0, end - kSegmentFrames);
    segment.clear();
    for (std::int64_t n = start; n < end; ++n) {
      const AVFrame* frame = reader.decoded(n);
      if (!frame) return Unexpected{item.path + ": frame " + std::to_string(n) + " does not decode"};
      ff::FramePtr scaled = scaler.scale(frame);
      if (!scaled) return Unexpected{std::string("cannot scale the picture")};
      segment.push_back(std::move(scaled));
    }
    for (auto it = segment.rbegin(); it != segment.rend(); ++it) {
      auto added = (*writer)->addFrame(it->get());
      if (!added) return Unexpected{added.error()};
    }
    if (!report(progress, static_cast<double>(last + 1 - start) / total)) return Unexpected{std::string("cancelled")};
  }
  auto finished = (*writer)->finish();
  if (!finished) return Unexpected{finished.error()};
  writer->reset();
  auto moved = part.moveTo(finalPath);
  if (!moved) return Unexpected{moved.error()};
  DerivedResult result = finishedResult(finalPath, *job, began);
  result.speed = result.seconds > 0 ? total / reader.fps() / result.seconds : 0;
  return result;
}

std::string ReverseMaker::runningStatus(const MediaItem& item) {
  return "Preparing reverse playback of " + curlyQuoted(fileName(item));
}

}  // namespace brevelan
