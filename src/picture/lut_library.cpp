#include "picture/lut_library.h"

#include <sys/stat.h>

#include <fstream>
#include <iterator>

namespace brevelan {

namespace {

// What a failed file looked like, so an unchanged bad file is not re-read on
// every frame.
struct Stamp {
  bool exists = false;
  off_t size = 0;
  timespec modified{};

  friend bool operator==(const Stamp& a, const Stamp& b) {
    return a.exists == b.exists && a.size == b.size && a.modified.tv_sec == b.modified.tv_sec &&
           a.modified.tv_nsec == b.modified.tv_nsec;
  }
};

Stamp stampOf(const std::string& path) {
  struct stat st{};
  if (::stat(path.c_str(), &st) != 0) return {};
  return {true, st.st_size, st.st_mtim};
}

std::shared_ptr<const LUT> load(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return nullptr;
  const std::string text(std::istreambuf_iterator<char>(in), {});
  if (in.bad()) return nullptr;
  auto parsed = LUT::parse(text);
  if (!parsed) return nullptr;
  return std::make_shared<const LUT>(std::move(parsed).value());
}

}  // namespace

// Each path has its own lock, so parsing a large file holds up only the
// callers that want that same file.
struct LUTLibrary::Entry {
  std::mutex mutex;
  bool tried = false;
  std::shared_ptr<const LUT> lut;
  Stamp failedStamp;
};

LUTLibrary& LUTLibrary::shared() {
  static LUTLibrary library;
  return library;
}

std::shared_ptr<const LUT> LUTLibrary::lut(const std::optional<std::string>& path) {
  if (!path || path->empty()) return nullptr;
  std::shared_ptr<Entry> entry;
  {
    std::lock_guard lock(mutex_);
    auto& slot = entries_[*path];
    if (!slot) slot = std::make_shared<Entry>();
    entry = slot;
  }
  std::lock_guard lock(entry->mutex);
  if (entry->lut) return entry->lut;
  if (entry->tried) {
    const Stamp now = stampOf(*path);
    if (now == entry->failedStamp) return nullptr;
  }
  // Stamp before reading: a change made while we read is seen next time.
  const Stamp before = stampOf(*path);
  entry->tried = true;
  entry->lut = load(*path);
  if (!entry->lut) entry->failedStamp = before;
  return entry->lut;
}

}  // namespace brevelan
