#include "edit/history.h"

#include <iterator>
#include <utility>

namespace brevelan {

void History::push(Project project, std::string name) {
  undo_.push_back(UndoStep{std::move(project), std::move(name)});
  if (undo_.size() > kMaxSteps)
    undo_.erase(undo_.begin(), undo_.begin() + static_cast<std::ptrdiff_t>(undo_.size() - kMaxSteps));
  redo_.clear();
}

namespace {

// Moves the newest step of `from` out, leaving `current` on `to` under its name.
std::optional<UndoStep> swapStep(std::vector<UndoStep>& from, std::vector<UndoStep>& to, Project current) {
  if (from.empty()) return std::nullopt;
  UndoStep step = std::move(from.back());
  from.pop_back();
  to.push_back(UndoStep{std::move(current), step.name});
  return step;
}

}  // namespace

std::optional<UndoStep> History::undo(Project current) { return swapStep(undo_, redo_, std::move(current)); }

std::optional<UndoStep> History::redo(Project current) { return swapStep(redo_, undo_, std::move(current)); }

}  // namespace brevelan
