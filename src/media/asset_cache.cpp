#include "media/asset_cache.h"

#include <filesystem>

#include "media/still_image.h"

namespace brevelan {
namespace {

bool isFile(const std::optional<std::string>& path) {
  std::error_code ec;
  return path && !path->empty() && std::filesystem::is_regular_file(*path, ec);
}

}  // namespace

AssetCache& AssetCache::shared() {
  static AssetCache cache;
  return cache;
}

std::string AssetCache::picturePath(const MediaItem& item, bool proxy, bool reverse) {
  if (reverse && isFile(item.reversedPath)) return *item.reversedPath;
  if (proxy && isFile(item.proxyPath)) return *item.proxyPath;
  return item.path;
}

Expected<std::shared_ptr<const MovieAsset>, std::string> AssetCache::asset(const std::string& path) {
  {
    std::lock_guard guard(lock_);
    if (auto it = assets_.find(path); it != assets_.end()) return it->second;
  }
  auto reader = VideoReader::open(path);
  if (!reader) return Unexpected{reader.error()};
  auto made = std::make_shared<MovieAsset>();
  made->path = path;
  made->width = (*reader)->width();
  made->height = (*reader)->height();
  made->rotation = (*reader)->rotation();
  made->rate = (*reader)->frameRate();
  made->frameCount = (*reader)->frameCount();
  made->duration = (*reader)->duration();
  std::lock_guard guard(lock_);
  // Another thread may have opened it meanwhile: keep the first.
  return assets_.emplace(path, std::move(made)).first->second;
}

Expected<std::shared_ptr<const Picture>, std::string> AssetCache::still(const std::string& path) {
  {
    std::lock_guard guard(lock_);
    if (auto it = stills_.find(path); it != stills_.end()) return it->second;
  }
  auto picture = loadStill(path);
  if (!picture) return Unexpected{picture.error()};
  auto made = std::make_shared<const Picture>(std::move(picture.value()));
  std::lock_guard guard(lock_);
  return stills_.emplace(path, std::move(made)).first->second;
}

void AssetCache::forget(const std::string& path) {
  std::lock_guard guard(lock_);
  assets_.erase(path);
  stills_.erase(path);
}

}  // namespace brevelan
