#include "model/app_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace brevelan::AppFolders {
namespace {

std::filesystem::path home() {
  if (const char* value = std::getenv("HOME"); value && *value) return value;
  if (const passwd* entry = ::getpwuid(::getuid()); entry && entry->pw_dir) return entry->pw_dir;
  return "/tmp";
}

}  // namespace

std::filesystem::path dataHome() {
  // A relative value is invalid by the XDG rules and is ignored.
  if (const char* value = std::getenv("XDG_DATA_HOME"); value && *value == '/') return value;
  return home() / ".local" / "share";
}

std::filesystem::path support() { return dataHome() / "vael-brevelan"; }

std::filesystem::path autosave() { return support() / "Autosave"; }

std::filesystem::path mixCache() { return support() / "Mix Cache"; }

std::filesystem::path trash() { return dataHome() / "Trash"; }

}  // namespace brevelan::AppFolders
