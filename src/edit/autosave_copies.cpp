#include "edit/autosave_copies.h"

namespace brevelan {

AutosaveCopies::AutosaveCopies(Autosave autosave, Mode mode) : autosave_(std::move(autosave)) {
  if (mode == Mode::background) queue_ = std::make_unique<SerialQueue>("vael.brevelan.autosave");
}

AutosaveCopies::~AutosaveCopies() { wait(); }

void AutosaveCopies::write(const Project& project, const std::optional<std::filesystem::path>& originalPath) {
  if (!queue_) {
    (void)autosave_.write(project, originalPath);  // skipped silently; the next tick tries again
    return;
  }
  auto snapshot = std::make_shared<Snapshot>(Snapshot{project, originalPath});
  {
    std::lock_guard lock(mutex_);
    auto waiting = waiting_.find(project.id);
    if (waiting != waiting_.end()) {
      *waiting->second = std::move(*snapshot);  // only the newest snapshot matters
      return;
    }
    waiting_.emplace(project.id, snapshot);
  }
  queue_->async([this, id = project.id, snapshot] {
    {
      std::lock_guard lock(mutex_);
      auto waiting = waiting_.find(id);
      if (waiting != waiting_.end() && waiting->second == snapshot) waiting_.erase(waiting);
    }
    (void)autosave_.write(snapshot->project, snapshot->originalPath);
  });
}

void AutosaveCopies::discard(const Uuid& projectID) {
  if (!queue_) {
    autosave_.discard(projectID);
    return;
  }
  {
    // A write asked for after this discard must not fold into one queued before it.
    std::lock_guard lock(mutex_);
    waiting_.erase(projectID);
  }
  queue_->async([this, projectID] { autosave_.discard(projectID); });
}

void AutosaveCopies::wait() {
  if (queue_) queue_->waitIdle();
}

}  // namespace brevelan
