#include "media/derived_files.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "model/app_folders.h"

namespace brevelan::derived {
namespace {

std::filesystem::path derivedName(const MediaItem& item, const std::string& ending) {
  std::string stem = std::filesystem::path(item.path).stem().string();
  if (stem.empty()) stem = item.name.empty() ? "media" : item.name;
  return stem + "-" + item.id.str().substr(0, 8) + ending;
}

}  // namespace

std::filesystem::path proxiesFolder() { return AppFolders::support() / "Proxies"; }
std::filesystem::path reversedFolder() { return AppFolders::support() / "Reversed"; }

std::filesystem::path proxyPath(const MediaItem& item) { return proxiesFolder() / derivedName(item, "-proxy.mov"); }
std::filesystem::path reversedPath(const MediaItem& item) { return reversedFolder() / derivedName(item, "-reversed.mov"); }

std::filesystem::path partPath(const std::filesystem::path& finalPath) {
  std::filesystem::path part = finalPath;
  part.replace_extension(".part.mov");
  return part;
}

Size fitWithin1080p(int width, int height) {
  const double longer = std::max(width, height);
  const double shorter = std::min(width, height);
  if (longer <= 0 || shorter <= 0) return {};
  const double scale = std::min({1920.0 / longer, 1080.0 / shorter, 1.0});
  // Halves round away from zero, as everywhere in the editor.
  const auto even = [scale](int side) { return static_cast<int>(std::round(side * scale * 0.5)) * 2; };
  return {std::max(2, even(width)), std::max(2, even(height))};
}

}  // namespace brevelan::derived
