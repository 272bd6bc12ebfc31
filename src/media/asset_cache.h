#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "media/picture.h"
#include "media/video_reader.h"
#include "model/expected.h"
#include "model/media_item.h"

namespace brevelan {

// What is known of an opened movie. Readers are per consumer (each keeps its
// own decoding position); the facts are shared.
struct MovieAsset {
  std::string path;
  int width = 0;  // upright
  int height = 0;
  int rotation = 0;
  AVRational rate{30, 1};
  std::int64_t frameCount = 0;
  double duration = 0;

  Expected<std::unique_ptr<VideoReader>, std::string> openReader() const { return VideoReader::open(path); }
};

// Decides which file a clip's picture comes from and keeps opened movies and
// decoded stills. Safe to use from the compositor's thread and the interface
// at once; files are opened and decoded outside the lock.
class AssetCache {
 public:
  static AssetCache& shared();

  // The reversed copy when asked for and present on disk, else the proxy when
  // asked for and present, else the original.
  static std::string picturePath(const MediaItem& item, bool proxy, bool reverse);

  Expected<std::shared_ptr<const MovieAsset>, std::string> asset(const std::string& path);
  Expected<std::shared_ptr<const Picture>, std::string> still(const std::string& path);
  // Drops what is kept for a path (after relinking or replacing a file).
  void forget(const std::string& path);

 private:
  std::mutex lock_;
  std::unordered_map<std::string, std::shared_ptr<const MovieAsset>> assets_;
  std::unordered_map<std::string, std::shared_ptr<const Picture>> stills_;
};

}  // namespace brevelan
