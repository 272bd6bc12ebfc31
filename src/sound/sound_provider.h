#pragma once

#include <memory>

#include "media/audio_cache.h"
#include "model/media_item.h"

namespace brevelan {

// Where the mixer gets the decoded sound of a media item. Null means the item
// has no usable sound (the mixer then leaves the clip out).
class SoundProvider {
 public:
  virtual ~SoundProvider() = default;
  virtual std::shared_ptr<const PCMSource> sound(const MediaItem& item) = 0;
};

// The original file (never a proxy), decoded once through AudioCache::shared().
class CachedSoundProvider final : public SoundProvider {
 public:
  std::shared_ptr<const PCMSource> sound(const MediaItem& item) override {
    if (!item.hasAudio) return nullptr;
    auto result = AudioCache::shared().source(item.path);
    return result ? *result : nullptr;
  }
};

}  // namespace brevelan
