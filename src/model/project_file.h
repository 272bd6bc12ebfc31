#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "model/expected.h"
#include "model/file_error.h"
#include "model/project.h"

namespace brevelan {

// Reading and writing ".brevelan" files: pretty-printed JSON with sorted keys.
// Media are referred to by absolute path and, beside it, by a path relative to
// the project file's folder, so a folder moved as a whole still opens.
namespace ProjectFile {

inline constexpr const char* kExtension = ".brevelan";

// Writes the project (with relative paths recomputed for `to`) atomically: the
// bytes go to a temporary file in the same folder, are flushed to disk, and
// then replace the target in one rename. A failed save leaves the old file as it was.
Expected<void, FileError> save(const Project& project, const std::filesystem::path& to);

// Reads, decodes and checks the format tag; media whose file is gone but that
// are found through their relative path get that path. Nothing is marked dirty.
Expected<Project, FileError> load(const std::filesystem::path& from);

// A copy with every media item's relativePath computed for that project file.
Project withRelativePaths(const Project& project, const std::filesystem::path& projectFile);

// The path from a folder to a file ("../Media/clip.mov"), or nothing when the
// two share no more than the root "/".
std::optional<std::string> relative(const std::filesystem::path& path, const std::filesystem::path& folder);

// The media items whose file is not where `path` says, in project order.
std::vector<MediaItem> missingMedia(const Project& project);

// The encoded bytes, as save writes them.
std::string encode(const Project& project);

}  // namespace ProjectFile
}  // namespace brevelan
