#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "picture/lut.h"

namespace brevelan {

// Parsed .cube files by path, shared by the compositor, the exporter and the
// interface. A file is read and parsed once; a LUT never changes afterwards.
class LUTLibrary {
 public:
  static LUTLibrary& shared();

  // Null when there is no path or the file cannot be read or parsed. A failed
  // file is tried again only once its size or modification time changes.
  std::shared_ptr<const LUT> lut(const std::optional<std::string>& path);

 private:
  struct Entry;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<Entry>, std::less<>> entries_;
};

}  // namespace brevelan
