#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>

#include "app/media_commands.h"

namespace brevelan::testing {

// The demo media and Sample.brevelan, written once per build folder and
// shared by every test program (ctest runs each test in a process of its
// own, and the media take seconds to write). Read-only for the tests: copy
// the project in memory, save changes elsewhere.
inline const std::filesystem::path& demoFolder() {
  static const std::filesystem::path folder = [] {
    const std::filesystem::path root = std::filesystem::path(BREVELAN_TEST_CACHE) / "demo";
    std::filesystem::create_directories(root.parent_path());
    // One writer at a time; the others wait and then find it done.
    const int lock = ::open((root.string() + ".lock").c_str(), O_CREAT | O_RDWR, 0644);
    if (lock < 0 || ::flock(lock, LOCK_EX) != 0) throw std::runtime_error("cannot lock the demo folder");
    if (!std::filesystem::exists(root / "Sample.brevelan")) {
      std::filesystem::remove_all(root);
      // The 4K movie's proxy goes with the demo, not into the user's folders.
      const char* before = std::getenv("XDG_DATA_HOME");
      const std::string saved = before ? before : "";
      ::setenv("XDG_DATA_HOME", (root.parent_path() / "demo-data").c_str(), 1);
      std::ostringstream out, err;
      const int status = runDemoCommand({root.string()}, out, err);
      if (before) ::setenv("XDG_DATA_HOME", saved.c_str(), 1);
      else ::unsetenv("XDG_DATA_HOME");
      if (status != 0) throw std::runtime_error(err.str());
    }
    ::flock(lock, LOCK_UN);
    ::close(lock);
    return root;
  }();
  return folder;
}

}  // namespace brevelan::testing
