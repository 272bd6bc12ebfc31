#include "app/timeline/timeline_artwork.h"

#include "app/playback/qt_services.h"
#include "picture/picture_image.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThreadPool>

#include <cmath>
#include <cstring>

#include "media/audio_cache.h"
#include "media/thumb_cache.h"

namespace brevelan {

struct TimelineArtwork::Store {
  std::function<void()> changed;
  // A null image marks a thumbnail that was asked for and is not (yet) here.
  std::map<std::pair<Uuid, std::int64_t>, QImage> thumbs;
  std::map<Uuid, std::shared_ptr<const std::vector<float>>> peaks;
  std::set<Uuid> peaksAsked;
};

TimelineArtwork::TimelineArtwork(std::function<void()> changed) : store_(std::make_shared<Store>()) {
  store_->changed = std::move(changed);
  // Thumbnails are answered on the main thread, where painting reads them.
  ThumbCache::shared().setDeliver(&postToMain);
}

TimelineArtwork::~TimelineArtwork() = default;

const QImage* TimelineArtwork::thumb(const MediaItem& item, double seconds) {
  const std::pair<Uuid, std::int64_t> key{item.id, std::llround(seconds * 1000)};
  auto [it, fresh] = store_->thumbs.try_emplace(key);
  if (fresh) {
    std::weak_ptr<Store> weak = store_;
    ThumbCache::shared().request(item, seconds, [weak, key](std::shared_ptr<const Picture> picture) {
      const auto store = weak.lock();
      if (!store || !picture) return;
      // Kept at about the size they are drawn, not the cache's larger one.
      QImage image = toImage(picture);
      if (image.height() > kThumbHeight) image = image.scaledToHeight(kThumbHeight, Qt::SmoothTransformation);
      store->thumbs[key] = std::move(image);
      if (store->changed) store->changed();
    });
  }
  return it->second.isNull() ? nullptr : &it->second;
}

const std::vector<float>* TimelineArtwork::peaks(const MediaItem& item) {
  if (auto it = store_->peaks.find(item.id); it != store_->peaks.end()) return it->second.get();
  if (!item.hasAudio || !store_->peaksAsked.insert(item.id).second) return nullptr;
  std::weak_ptr<Store> weak = store_;
  // Decoding a whole file's sound takes a while: never on the main thread.
  QThreadPool::globalInstance()->start([weak, item] {
    auto peaks = AudioCache::shared().peaks(item);
    postToMain([weak, id = item.id, peaks = std::move(peaks)] {
      const auto store = weak.lock();
      if (!store || !peaks) return;
      store->peaks[id] = peaks;
      if (store->changed) store->changed();
    });
  });
  return nullptr;
}

}  // namespace brevelan
