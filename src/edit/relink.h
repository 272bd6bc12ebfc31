#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "edit/editor_model.h"
#include "edit/media_probe.h"
#include "model/media_item.h"
#include "model/project.h"

namespace brevelan {

// "Relink Missing Media…": files with the same name and the same length,
// found in a folder or its subfolders, take the place of missing media.
namespace Relinker {

// A file's length counts as the same when it differs by less than this.
inline constexpr double kLengthTolerance = 0.5;

// Walks `folder` and every readable subfolder (unreadable ones are skipped,
// symbolic links to folders are not followed) and pairs each missing item
// with the first file found whose name matches without regard to case and
// whose length, read with `prober`, is within 0.5 s of the item's (pictures
// match by name alone). Each file and each item is used once. Within a
// folder files come in name order, before its subfolders.
std::map<Uuid, std::string> search(const std::vector<MediaItem>& missing, const std::filesystem::path& folder,
                                   const MediaProber& prober);

// The folder panel's message for `count` missing files.
std::string folderPrompt(std::size_t count);

}  // namespace Relinker

struct RelinkOutcome {
  enum class Kind { nothingToRelink, noMatches, relinked };
  Kind kind = Kind::nothingToRelink;
  std::size_t count = 0;  // files relinked
  std::string title;      // the alert's title, or the status text after relinking
  std::string message;    // the alert's message; empty after relinking
};

// Relinks the editor's missing media from `folder` in one edit named
// "Relink N file(s)" and reports "Relinked …" in the status line, or shows
// the alert "Nothing to relink" or "No matches" and changes nothing.
RelinkOutcome relink(EditorModel& editor, const std::filesystem::path& folder, const MediaProber& prober);

}  // namespace brevelan
