#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "model/project.h"

namespace brevelan {

// The whole document as it was before an edit, under the edit's name.
struct UndoStep {
  Project project;
  std::string name;

  friend bool operator==(const UndoStep&, const UndoStep&) = default;
};

// Undo and redo over whole-project snapshots. A snapshot is a plain copy:
// Project shares its lists, so a thousand steps cost little more than the
// parts that actually differ between them.
class History {
 public:
  static constexpr std::size_t kMaxSteps = 1000;

  // Records the state before an edit; the oldest steps beyond the limit go,
  // and the undone future becomes unreachable.
  void push(Project project, std::string name);

  // Takes the newest undo step and keeps `current` under its name for redo.
  // Nothing to undo: returns nothing and changes nothing.
  std::optional<UndoStep> undo(Project current);
  // The mirror image of undo.
  std::optional<UndoStep> redo(Project current);

  // Oldest first, newest last.
  const std::vector<UndoStep>& undoSteps() const { return undo_; }
  // Most recently undone last.
  const std::vector<UndoStep>& redoSteps() const { return redo_; }
  bool canUndo() const { return !undo_.empty(); }
  bool canRedo() const { return !redo_.empty(); }

  friend bool operator==(const History&, const History&) = default;

 private:
  std::vector<UndoStep> undo_;
  std::vector<UndoStep> redo_;
};

}  // namespace brevelan
