#pragma once

#include <filesystem>
#include <string>

#include "model/media_item.h"

namespace brevelan {

// Where derived media live and what they are called. The folders sit under
// $XDG_DATA_HOME/vael-brevelan (~/.local/share/vael-brevelan by default).
// A derived file is named after its source and the first eight digits of the
// item's id, so two sources of the same name never share a copy.
namespace derived {

std::filesystem::path proxiesFolder();
std::filesystem::path reversedFolder();

std::filesystem::path proxyPath(const MediaItem& item);     // …/Proxies/<name>-<id>-proxy.mov
std::filesystem::path reversedPath(const MediaItem& item);  // …/Reversed/<name>-<id>-reversed.mov
// The name a file carries while it is written: "<final name without .mov>.part.mov".
std::filesystem::path partPath(const std::filesystem::path& finalPath);

struct Size {
  int width = 0;
  int height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

// The size rule of reversed copies (and proxies): scale = min(1920 ÷ longer
// side, 1080 ÷ shorter side, 1), each side round(side × scale × 0.5) × 2.
Size fitWithin1080p(int width, int height);

}  // namespace derived
}  // namespace brevelan
