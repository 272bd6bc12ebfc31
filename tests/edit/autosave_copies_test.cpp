#include "edit/autosave_copies.h"

#include <gtest/gtest.h>

#include "editor_fakes.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;

// An editor whose recovery copies go to a temporary Autosave folder.
struct AutosaveEditing : ::testing::TestWithParam<AutosaveCopies::Mode> {
  std::vector<PendingCopy> pending() {
    copies->wait();
    return copies->autosave().pending();
  }
  void rename(const std::string& name) {
    editor->edit("Rename", false, false, [&](Project& p) { p.name = name; });
  }

  TempDir dir;
  std::shared_ptr<AutosaveCopies> copies = std::make_shared<AutosaveCopies>(Autosave(dir / "Autosave"), GetParam());
  testing::EditorRig rig{Project::make(), copies};
  EditorModel* editor = rig.editor.get();
  testing::ManualScheduler* scheduler = rig.scheduler.get();
};

TEST_P(AutosaveEditing, TheTimerWritesOnlyUnsavedWorkAndSavingRemovesIt) {
  editor->startAutosave(30);
  scheduler->advance(31);
  EXPECT_TRUE(pending().empty()) << "a clean project writes nothing";

  rename("First");
  scheduler->advance(28);  // the next tick is due at 60
  EXPECT_TRUE(pending().empty());
  scheduler->advance(2);
  auto copies = pending();
  ASSERT_EQ(copies.size(), 1u);
  EXPECT_EQ(copies[0].record.project, editor->project());
  EXPECT_FALSE(copies[0].record.originalPath);

  const fs::path file = dir / "p.brevelan";
  ASSERT_TRUE(editor->saveTo(file).ok());
  EXPECT_TRUE(pending().empty());
  rename("Second");
  scheduler->advance(30);
  copies = pending();
  ASSERT_EQ(copies.size(), 1u);
  EXPECT_EQ(copies[0].record.originalPath, file.string());

  // Recovering opens the copy unsaved, to be saved back to its file.
  EditorModel other(Project::make());
  other.recover(copies[0].record.project, copies[0].record.originalPath);
  EXPECT_EQ(other.project(), editor->project());
  EXPECT_TRUE(other.state().dirty);
  EXPECT_EQ(other.state().fileURL, file);

  editor->stopAutosave();
  rename("Third");
  scheduler->advance(100);
  EXPECT_EQ(pending()[0].record.project.name, "Second");
  // An end that cannot wait for the timer keeps the work at once.
  EXPECT_TRUE(editor->keepUnsavedWork());
  EXPECT_EQ(pending()[0].record.project.name, "Third");
  ASSERT_TRUE(editor->saveTo(file).ok());
  EXPECT_FALSE(editor->keepUnsavedWork());
  EXPECT_TRUE(pending().empty());
}

INSTANTIATE_TEST_SUITE_P(Modes, AutosaveEditing,
                         ::testing::Values(AutosaveCopies::Mode::background, AutosaveCopies::Mode::immediate));

// Many writes then a discard, asked for quickly: the discard wins.
TEST(AutosaveCopies, ADiscardFollowsTheWritesBeforeIt) {
  TempDir dir;
  AutosaveCopies copies(Autosave(dir / "Autosave"));
  Project project = Project::make();
  for (int i = 0; i < 50; ++i) {
    project.name = std::to_string(i);
    copies.write(project, std::nullopt);
  }
  copies.discard(project.id);
  copies.wait();
  EXPECT_TRUE(copies.autosave().pending().empty());
  project.name = "after";
  copies.write(project, std::nullopt);
  copies.wait();
  EXPECT_EQ(copies.autosave().pending().at(0).record.project.name, "after");
}

}  // namespace
}  // namespace brevelan
