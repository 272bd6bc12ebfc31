#include "media/audio_cache.h"

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

void AudioCache::forget(const std::string& path) {
  std::lock_guard guard(lock_);
  sources_.erase(path);
}

std::int64_t AudioCache::decodes() const {
  std::lock_guard guard(lock_);
  return decodes_;
}

}  // namespace brevelan
