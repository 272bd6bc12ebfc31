#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace brevelan::testing {

// A fresh folder under the system temporary folder, removed with everything in it.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "brevelan-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
    ::chmod(path_.c_str(), 0755);  // other users may look in (permission tests)
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir() {
    std::error_code ec;
    // Undo any read-only modes a test set so everything can be removed.
    for (auto it = std::filesystem::recursive_directory_iterator(path_, ec);
         it != std::filesystem::recursive_directory_iterator(); it.increment(ec))
      if (it->is_directory(ec)) ::chmod(it->path().c_str(), 0755);
    std::filesystem::remove_all(path_, ec);
  }

  const std::filesystem::path& path() const { return path_; }
  // Points the application's data and cache folders (recovery copies, stems,
  // proxies, thumbnails) in here, so a test never writes into the user's own.
  void holdAppFolders() const {
    ::setenv("XDG_DATA_HOME", (path_ / "data").c_str(), 1);
    ::setenv("XDG_CACHE_HOME", (path_ / "cache").c_str(), 1);
  }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

inline std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void writeFile(const std::filesystem::path& path, const std::string& bytes) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace brevelan::testing
