#include "edit/autosave_copies.h"

#include <gtest/gtest.h>

#include "editor_fakes.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;

// Points the application's folders at a temporary home before anything uses them.
struct TemporaryHome {
  TemporaryHome() { ::setenv("XDG_DATA_HOME", dir.path().c_str(), 1); }
  ~TemporaryHome() { ::unsetenv("XDG_DATA_HOME"); }
  const fs::path& path() const { return dir.path(); }
  fs::path operator/(const std::string& name) const { return dir / name; }
  TempDir dir;
};

// An editor whose recovery copies go to a temporary Autosave folder.
struct AutosaveEditing : ::testing::TestWithParam<AutosaveCopies::Mode> {
  AutosaveEditing() {
    EditorServices services;
    services.scheduler = scheduler;
    services.recovery = copies;
    services.clock = [s = scheduler] { return s->now(); };
    editor = std::make_unique<EditorModel>(Project::make(), services);
  }

  std::vector<PendingCopy> pending() {
    copies->wait();
    return copies->autosave().pending();
  }
  void rename(const std::string& name) {
    editor->edit("Rename", false, false, [&](Project& p) { p.name = name; });
  }

  TemporaryHome home;  // first: the members below use it
  std::shared_ptr<testing::ManualScheduler> scheduler = std::make_shared<testing::ManualScheduler>();
  std::shared_ptr<AutosaveCopies> copies = std::make_shared<AutosaveCopies>(Autosave::standard(), GetParam());
  std::unique_ptr<EditorModel> editor;
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
  EXPECT_EQ(copies[0].location, home / "vael-brevelan/Autosave" / (editor->project().id.str() + ".autosave"));
  EXPECT_FALSE(copies[0].record.originalPath);

  const fs::path file = home / "work/p.brevelan";
  fs::create_directories(file.parent_path());
  ASSERT_TRUE(editor->saveTo(file).ok());
  EXPECT_TRUE(pending().empty());
  scheduler->advance(60);
  EXPECT_TRUE(pending().empty());

  rename("Second");
  scheduler->advance(30);
  copies = pending();
  ASSERT_EQ(copies.size(), 1u);
  EXPECT_EQ(copies[0].record.project.name, "Second");
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
  const std::string after = "after";
  project.name = after;
  copies.write(project, std::nullopt);
  copies.discard(project.id);
  copies.wait();
  EXPECT_TRUE(copies.autosave().pending().empty());
  copies.write(project, std::nullopt);
  copies.wait();
  EXPECT_EQ(copies.autosave().pending().at(0).record.project.name, after);
}

}  // namespace
}  // namespace brevelan
