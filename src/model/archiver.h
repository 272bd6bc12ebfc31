#pragma once

#include <filesystem>
#include <functional>

#include "model/expected.h"
#include "model/file_error.h"
#include "model/project.h"

namespace brevelan {

// "Archive Project (Collect Media)": the project and every file it uses,
// copied into one new folder that can be backed up or moved as a whole.
namespace Archiver {

// Fraction done, 0 to 1, never going back.
using Progress = std::function<void(double)>;

// Makes "<name> (Archive)" (or " (Archive 2)", …) in `parent` holding
// "Media" with a copy of every media file, "LUTs" with a copy of every LUT a
// grade names, and "<name>.brevelan" pointing at those copies. Two different
// files with the same name get "clip.mov" and "clip 2.mov" (names compared
// without regard to case, for case-insensitive disks). Returns the archived
// project file. The given project is never changed. On any failure — a file
// missing or unreadable, no permission, a full disk — the partial folder is
// removed and the error says why.
Expected<std::filesystem::path, FileError> collect(const Project& project, const std::filesystem::path& parent,
                                                   const Progress& progress = {});

}  // namespace Archiver
}  // namespace brevelan
