#include "media/audio_cache.h"

#include <algorithm>
#include <cmath>

#include "media/audio_reader.h"

namespace brevelan {

AudioCache& AudioCache::shared() {
  static AudioCache cache;
  return cache;
}

AudioCache::Result AudioCache::source(const std::string& path) {
  std::promise<Result> promise;
  std::shared_future<Result> waiting;
  {
    std::lock_guard guard(lock_);
    if (auto it = sources_.find(path); it != sources_.end()) {
      waiting = it->second;
    } else {
      sources_.emplace(path, promise.get_future().share());
      ++decodes_;
    }
  }
  if (waiting.valid()) return waiting.get();
  auto samples = decodeSound(path);
  Result result = samples ? Result(std::make_shared<const PCMSource>(
                                PCMSource{static_cast<std::int64_t>(samples->size() / 2), std::move(samples.value())}))
                          : Result(Unexpected{samples.error()});
  if (!result) {
    std::lock_guard guard(lock_);
    sources_.erase(path);
  }
  promise.set_value(result);
  return result;
}

std::shared_ptr<const std::vector<float>> AudioCache::peaks(const MediaItem& item) {
  {
    std::lock_guard guard(lock_);
    if (auto it = peaks_.find(item.path); it != peaks_.end()) return it->second;
  }
  if (!item.hasAudio) return nullptr;
  const auto decoded = source(item.path);
  if (!decoded) return nullptr;
  const PCMSource& pcm = **decoded;
  const std::int64_t frames = std::min<std::int64_t>(pcm.frames, static_cast<std::int64_t>(pcm.data.size() / 2));
  auto result = std::make_shared<std::vector<float>>(static_cast<std::size_t>(frames / kPeakFrames + 1), 0.0f);
  for (std::size_t k = 0; k < result->size(); ++k) {
    const auto from = static_cast<std::size_t>(2 * static_cast<std::int64_t>(k) * kPeakFrames);
    const auto to = std::min(from + 2 * kPeakFrames, static_cast<std::size_t>(2 * frames));
    float peak = 0;
    for (std::size_t i = from; i < to; ++i) peak = std::max(peak, std::abs(pcm.data[i]));
    (*result)[k] = peak;
  }
  std::lock_guard guard(lock_);
  return peaks_.emplace(item.path, std::move(result)).first->second;
}

void AudioCache::forget(const std::string& path) {
  std::lock_guard guard(lock_);
  sources_.erase(path);
  peaks_.erase(path);
}

std::int64_t AudioCache::decodes() const {
  std::lock_guard guard(lock_);
  return decodes_;
}

}  // namespace brevelan
