#pragma once

#include <filesystem>

#include "model/expected.h"
#include "model/file_error.h"

namespace brevelan {

// Moving files to the user's freedesktop.org trash, so that they can be put
// back from the file manager: the file goes to Trash/files under a free name
// and Trash/info/<name>.trashinfo records where it came from and when.
namespace Trash {

// Moves `file` into the trash folder `trashFolder` (by default AppFolders::trash()).
// Returns the file's new location. Nothing is ever deleted outright: on
// failure the file stays where it was.
Expected<std::filesystem::path, FileError> moveToTrash(const std::filesystem::path& file);
Expected<std::filesystem::path, FileError> moveToTrash(const std::filesystem::path& file,
                                                       const std::filesystem::path& trashFolder);

}  // namespace Trash
}  // namespace brevelan
