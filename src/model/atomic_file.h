#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "model/expected.h"
#include "model/file_error.h"

namespace brevelan {

// Replaces the file at `path` with `bytes` so that readers see the old file or
// the new one, never a mix: the bytes go to a hidden temporary file in the same
// folder, are flushed to disk, and are renamed over the target. On failure the
// temporary file is removed and the old file is untouched.
Expected<void, FileError> writeFileAtomically(const std::filesystem::path& path, std::string_view bytes);

// The whole content of a file, or a FileError whose message says why not.
Expected<std::string, FileError> readWholeFile(const std::filesystem::path& path);

}  // namespace brevelan
