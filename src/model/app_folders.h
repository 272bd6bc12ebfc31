#pragma once

#include <filesystem>

namespace brevelan {

// Where the application keeps its own files, after the XDG base-directory
// rules: $XDG_DATA_HOME when it is an absolute path, else ~/.local/share.
// Nothing here creates a folder; the code that writes into one does.
namespace AppFolders {

std::filesystem::path dataHome();
// dataHome()/vael-brevelan
std::filesystem::path support();
// support()/Autosave: recovery copies and the session lock.
std::filesystem::path autosave();
// support()/Mix Cache: rendered track stems, named by their content key.
std::filesystem::path mixCache();
// dataHome()/Trash, the user's freedesktop.org trash.
std::filesystem::path trash();

}  // namespace AppFolders
}  // namespace brevelan
