#include "edit/editor_model.h"

#include <algorithm>
#include <string>

#include "model/project_file.h"

// Opening, saving, new documents, recovery and the autosave timer.
namespace brevelan {

Expected<void, FileError> EditorModel::open(const std::filesystem::path& file) {
  auto loaded = ProjectFile::load(file);
  if (!loaded) {
    showAlert(kCouldNotOpen, loaded.error().message);
    return Unexpected{loaded.error()};
  }
  replaceDocument(std::move(loaded).value(), file, false);
  const std::size_t missing = ProjectFile::missingMedia(state_.project).size();
  setStatus(missing > 0 ? std::to_string(missing) + " media file(s) are missing — use Media ▸ Relink" : "Ready");
  return {};
}

Expected<void, FileError> EditorModel::saveTo(const std::filesystem::path& file) {
  auto saved = ProjectFile::save(state_.project, file);
  if (!saved) {
    showAlert(kCouldNotSave, saved.error().message);
    return saved;
  }
  assign(state_.fileURL, std::optional<std::filesystem::path>(file), Field::fileURL);
  assign(state_.dirty, false, Field::dirty);
  services_.recovery->discard(state_.project.id);
  return {};
}

Expected<bool, FileError> EditorModel::save(const LocationChooser& chooseLocation) {
  if (!state_.fileURL) return saveAs(chooseLocation);
  auto saved = saveTo(*state_.fileURL);
  if (!saved) return Unexpected{saved.error()};
  return true;
}

Expected<bool, FileError> EditorModel::saveAs(const LocationChooser& chooseLocation) {
  const std::optional<std::filesystem::path> location = chooseLocation ? chooseLocation() : std::nullopt;
  if (!location) return false;
  auto saved = saveTo(*location);
  if (!saved) return Unexpected{saved.error()};
  return true;
}

void EditorModel::newProject() { replaceDocument(Project::make(), std::nullopt, false); }

void EditorModel::recover(Project project, std::optional<std::filesystem::path> originalPath) {
  replaceDocument(std::move(project), std::move(originalPath), true);
}

void EditorModel::replaceDocument(Project project, std::optional<std::filesystem::path> fileURL, bool dirty) {
  // The history, drag and clipboard belong to the old document: clips in them
  // name media the new one does not have.
  history_ = History{};
  lastEditName_.clear();
  dragBase_.reset();
  clipboard_.clear();
  attributeSource_.reset();

  setProject(std::move(project));
  assign(state_.fileURL, std::move(fileURL), Field::fileURL);
  assign(state_.dirty, dirty, Field::dirty);
  assign(state_.dragPreview, false, Field::dragPreview);
  clearSelection();
  setPlayhead(0);
  setMarkIn(std::nullopt);
  setMarkOut(std::nullopt);
  setSelectedMediaID(std::nullopt);
  setSourceMediaID(std::nullopt);
  setSourceIn(std::nullopt);
  setSourceOut(std::nullopt);
  setSourcePlayhead(0);
  setMeters({});
  scheduleRebuild(0);
}

void EditorModel::startAutosave(double seconds) {
  scheduleAutosaveTick(seconds, ++autosaveTimer_);
}

void EditorModel::stopAutosave() { ++autosaveTimer_; }

bool EditorModel::keepUnsavedWork() {
  if (!state_.dirty) return false;
  services_.recovery->write(state_.project, state_.fileURL);
  return true;
}

void EditorModel::scheduleAutosaveTick(double seconds, std::uint64_t timer) {
  std::weak_ptr<EditorModel*> weak = alive_;
  services_.scheduler->schedule(seconds, [weak, seconds, timer] {
    const auto alive = weak.lock();
    if (!alive) return;
    EditorModel& editor = **alive;
    // A later start or a stop replaced this timer.
    if (editor.autosaveTimer_ != timer) return;
    editor.keepUnsavedWork();
    editor.scheduleAutosaveTick(seconds, timer);
  });
}

}  // namespace brevelan
