#include "edit/history.h"

#include <gtest/gtest.h>

#include <string>

namespace brevelan {
namespace {

Project named(const std::string& name) {
  Project project;
  project.name = name;
  return project;
}

TEST(History, UndoAndRedoSwapWholeProjectsUnderTheEditsName) {
  History history;
  history.push(named("before blade"), "Blade");
  history.push(named("before ripple"), "Ripple");

  auto step = history.undo(named("now"));
  ASSERT_TRUE(step);
  EXPECT_EQ(step->project.name, "before ripple");
  EXPECT_EQ(step->name, "Ripple");
  ASSERT_EQ(history.redoSteps().size(), 1u);
  EXPECT_EQ(history.redoSteps().back(), (UndoStep{named("now"), "Ripple"}));

  step = history.redo(step->project);
  ASSERT_TRUE(step);
  EXPECT_EQ(step->project.name, "now");
  EXPECT_EQ(history.undoSteps().back(), (UndoStep{named("before ripple"), "Ripple"}));
  EXPECT_FALSE(history.canRedo());
}

}  // namespace
}  // namespace brevelan
