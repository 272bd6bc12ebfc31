#include "edit/relink.h"

#include "model/file_names.h"
#include "model/project_file.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <optional>
#include <set>
#include <unordered_map>

namespace brevelan {
namespace {

namespace fs = std::filesystem;

std::string files(std::size_t count) { return std::to_string(count) + (count == 1 ? " file" : " files"); }

// Calls visit(file) for every file under `folder`: a folder's files in name
// order, then its subfolders the same way. Folders that cannot be read are
// passed over; `visit` returns false to stop the walk.
template <class Visit>
bool walk(const fs::path& folder, Visit& visit) {
  std::error_code ec;
  std::vector<fs::path> fileList, folders;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    std::error_code kind;
    if (it->is_symlink(kind)) {
      if (it->is_regular_file(kind)) fileList.push_back(it->path());
    } else if (it->is_directory(kind)) {
      folders.push_back(it->path());
    } else if (it->is_regular_file(kind)) {
      fileList.push_back(it->path());
    }
  }
  std::sort(fileList.begin(), fileList.end());
  std::sort(folders.begin(), folders.end());
  for (const fs::path& file : fileList)
    if (!visit(file)) return false;
  for (const fs::path& sub : folders)
    if (!walk(sub, visit)) return false;
  return true;
}

}  // namespace

namespace Relinker {

std::map<Uuid, std::string> search(const std::vector<MediaItem>& items, const fs::path& folder,
                                   const MediaProber& prober) {
  std::unordered_map<std::string, std::vector<const MediaItem*>> byName;
  for (const MediaItem& item : items) byName[lowercased(fs::path(item.path).filename().string())].push_back(&item);

  std::map<Uuid, std::string> found;
  auto visit = [&](const fs::path& file) {
    const auto candidates = byName.find(lowercased(file.filename().string()));
    if (candidates == byName.end()) return true;
    std::optional<std::optional<double>> length;  // read once, when a length is needed
    for (const MediaItem* item : candidates->second) {
      if (found.contains(item->id)) continue;
      bool matches = item->kind == MediaKind::image;
      if (!matches) {
        if (!length) {
          auto probed = prober.probe(file);
          length = probed ? std::optional<double>(probed->duration) : std::nullopt;
        }
        matches = *length && std::abs(**length - item->duration) < kLengthTolerance;
      }
      if (matches) {
        found.emplace(item->id, file.string());
        break;
      }
    }
    return found.size() < items.size();
  };
  walk(folder, visit);
  return found;
}

std::string folderPrompt(std::size_t count) {
  return "Choose the folder that now holds the " + std::to_string(count) + " missing file" + (count == 1 ? "" : "s") +
         " (subfolders are searched too)";
}

}  // namespace Relinker

RelinkOutcome relink(EditorModel& editor, const fs::path& folder, const MediaProber& prober) {
  const std::vector<MediaItem> missing = ProjectFile::missingMedia(editor.project());
  if (missing.empty()) {
    RelinkOutcome outcome{RelinkOutcome::Kind::nothingToRelink, 0, "Nothing to relink",
                          "Every media file in this project is where Brevelan expects it."};
    editor.showAlert(outcome.title, outcome.message);
    return outcome;
  }
  const std::map<Uuid, std::string> paths = Relinker::search(missing, folder, prober);
  if (paths.empty()) {
    RelinkOutcome outcome{RelinkOutcome::Kind::noMatches, 0, "No matches",
                          "No files with the same names and lengths were found in that folder."};
    editor.showAlert(outcome.title, outcome.message);
    return outcome;
  }
  editor.edit("Relink " + files(paths.size()), false, true, [&](Project& project) {
    for (std::size_t i = 0; i < project.media.size(); ++i)
      if (const auto path = paths.find(project.media[i].id); path != paths.end())
        project.media.mut(i).path = path->second;
  });
  RelinkOutcome outcome{RelinkOutcome::Kind::relinked, paths.size(),
                        "Relinked " + files(paths.size()) + " of " + std::to_string(missing.size()) + " missing", ""};
  editor.setStatus(outcome.title);
  return outcome;
}

}  // namespace brevelan
