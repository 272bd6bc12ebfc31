#include "media/thumb_cache.h"

#include <cmath>

#include "media/still_image.h"
#include "media/video_reader.h"

namespace brevelan {

ThumbCache::ThumbCache(Deliver deliver) : deliver_(std::move(deliver)) {}

ThumbCache& ThumbCache::shared() {
  static ThumbCache cache;
  return cache;
}

void ThumbCache::setDeliver(Deliver deliver) {
  std::lock_guard guard(lock_);
  deliver_ = std::move(deliver);
}

ThumbCache::Key ThumbCache::keyOf(const Uuid& id, double seconds) {
  return {id, std::llround(std::max(0.0, seconds) * kTimescale)};
}

std::shared_ptr<const Picture> ThumbCache::make(const MediaItem& item, double seconds) {
  if (item.kind == MediaKind::image) {
    auto still = loadStill(item.path);
    if (!still) return nullptr;
    return std::make_shared<const Picture>(fittedWithin(*still, kMaxSize));
  }
  if (!item.hasVideo) return nullptr;
  auto reader = VideoReader::open(item.path);
  if (!reader) return nullptr;
  const auto frame = static_cast<std::int64_t>(std::floor(std::max(0.0, seconds) * (*reader)->fps() + 1e-6));
  auto picture = (*reader)->picture(frame);
  if (!picture) return nullptr;
  return std::make_shared<const Picture>(fittedWithin(**picture, kMaxSize));
}

void ThumbCache::answer(std::vector<Done> callers, std::shared_ptr<const Picture> picture) {
  Deliver deliver;
  {
    std::lock_guard guard(lock_);
    deliver = deliver_;
  }
  auto run = [callers = std::move(callers), picture = std::move(picture)] {
    for (const Done& done : callers)
      if (done) done(picture);
  };
  if (deliver) {
    deliver(std::move(run));
  } else {
    run();
  }
}

void ThumbCache::request(const MediaItem& item, double seconds, Done done) {
  const Key key = keyOf(item.id, seconds);
  std::shared_ptr<const Picture> ready;
  {
    std::lock_guard guard(lock_);
    if (auto it = thumbs_.find(key); it != thumbs_.end()) {
      ready = it->second;
    } else if (auto waiting = pending_.find(key); waiting != pending_.end()) {
      waiting->second.push_back(std::move(done));
      return;
    } else {
      pending_[key].push_back(std::move(done));
      queue_.async([this, key, item, seconds] {
        std::shared_ptr<const Picture> picture = make(item, seconds);
        std::vector<Done> callers;
        {
          std::lock_guard inner(lock_);
          auto it = pending_.find(key);
          if (it == pending_.end()) return;  // forgotten meanwhile
          callers = std::move(it->second);
          pending_.erase(it);
          if (picture) thumbs_[key] = picture;
        }
        answer(std::move(callers), std::move(picture));
      });
      return;
    }
  }
  answer({std::move(done)}, std::move(ready));
}

std::shared_ptr<const Picture> ThumbCache::cached(const Uuid& mediaID, double seconds) const {
  std::lock_guard guard(lock_);
  auto it = thumbs_.find(keyOf(mediaID, seconds));
  return it == thumbs_.end() ? nullptr : it->second;
}

void ThumbCache::forget(const Uuid& mediaID) {
  std::lock_guard guard(lock_);
  const auto drop = [&](auto& map) {
    for (auto it = map.lower_bound(Key{mediaID, INT64_MIN}); it != map.end() && it->first.first == mediaID;)
      it = map.erase(it);
  };
  drop(thumbs_);
  drop(pending_);
}

}  // namespace brevelan
