#include "model/autosave.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "model/app_folders.h"
#include "model/trash.h"
#include "support/rich_project.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::TempDir;
using testing::writeFile;

// Points the application's folders into a temporary home for one test.
struct AutosaveFolders : ::testing::Test {
  void SetUp() override { ::setenv("XDG_DATA_HOME", home.path().c_str(), 1); }
  void TearDown() override { ::unsetenv("XDG_DATA_HOME"); }

  TempDir home;
  Autosave autosave = Autosave(home / "vael-brevelan/Autosave");
};

TEST_F(AutosaveFolders, FollowTheDataHome) {
  EXPECT_EQ(Autosave::standard().folder(), home / "vael-brevelan/Autosave");
  const std::string savedHome = std::getenv("HOME") ? std::getenv("HOME") : "";
  ::setenv("XDG_DATA_HOME", "relative/path", 1);  // invalid: the default applies
  ::setenv("HOME", "/home/someone", 1);
  EXPECT_EQ(AppFolders::support(), fs::path("/home/someone/.local/share/vael-brevelan"));
  ::setenv("HOME", savedHome.c_str(), 1);
}

TEST_F(AutosaveFolders, ACopyReadsBackEqualToTheProject) {
  const Project project = testing::makeRichProject();
  writeFile(home / "vael-brevelan", "a file where the folder should be");
  EXPECT_FALSE(autosave.write(project, std::nullopt).ok());
  fs::remove(home / "vael-brevelan");  // the next write tries again

  ASSERT_TRUE(autosave.write(project, fs::path("/work/films/p.brevelan")).ok());
  const fs::path file = autosave.location(project.id);
  EXPECT_EQ(readFile(file).find('\n'), std::string::npos);  // compact
  const auto pending = autosave.pending();
  ASSERT_EQ(pending.size(), 1u);
  EXPECT_EQ(pending[0].location, file);
  EXPECT_EQ(pending[0].record.project, project);
  EXPECT_EQ(pending[0].record.originalPath, "/work/films/p.brevelan");
  EXPECT_NEAR(pending[0].record.saved.secondsSince2001, Date::now().secondsSince2001, 60);

  // A newer copy replaces the older; a never-saved project has no path.
  Project changed = project;
  changed.name = "Changed";
  ASSERT_TRUE(autosave.write(changed, std::nullopt).ok());
  ASSERT_EQ(autosave.pending().size(), 1u);
  EXPECT_EQ(autosave.pending()[0].record.project.name, "Changed");
  EXPECT_FALSE(autosave.pending()[0].record.originalPath);
  autosave.discard(project.id);
  EXPECT_TRUE(autosave.pending().empty());
  autosave.discard(project.id);  // nothing there: nothing happens
}

TEST_F(AutosaveFolders, OnlyCopiesThatDecodeAreOfferedNewestFirst) {
  const AutosaveRecord older{Project::make(), std::nullopt, Date{1000}};
  const AutosaveRecord newer{Project::make(), "/a/b.brevelan", Date{2000}};
  writeFile(autosave.location(older.project.id), Autosave::encode(older));
  writeFile(autosave.location(newer.project.id), Autosave::encode(newer));
  writeFile(autosave.folder() / "garbage.autosave", "\x01\x02not json");
  writeFile(autosave.folder() / "cut.autosave", Autosave::encode(newer).substr(0, 200));
  writeFile(autosave.folder() / "other.autosave", R"({"project":{"format":"other"},"saved":1})");
  writeFile(autosave.folder() / "notes.txt", Autosave::encode(older));
  fs::create_directories(autosave.folder() / "folder.autosave");

  const auto pending = autosave.pending();
  ASSERT_EQ(pending.size(), 2u);
  EXPECT_EQ(pending[0].record, newer);
  EXPECT_EQ(pending[1].record, older);
  EXPECT_TRUE(Autosave(home / "absent").pending().empty());
}

TEST_F(AutosaveFolders, TrashKeepsTheCopyWithWhereItCameFrom) {
  const Project project = Project::make();
  ASSERT_TRUE(autosave.write(project, std::nullopt).ok());
  const fs::path copy = autosave.location(project.id);
  const std::string bytes = readFile(copy);

  auto trashed = autosave.trash(copy);
  ASSERT_TRUE(trashed.ok()) << trashed.error().message;
  EXPECT_FALSE(fs::exists(copy));
  EXPECT_EQ(*trashed, home / "Trash/files" / copy.filename());
  EXPECT_EQ(readFile(*trashed), bytes);
  const std::string info = readFile(home / "Trash/info" / (copy.filename().string() + ".trashinfo"));
  EXPECT_EQ(info.rfind("[Trash Info]\nPath=" + copy.string() + "\nDeletionDate=", 0), 0u) << info;

  // The same name again gets a name of its own; nothing is overwritten.
  ASSERT_TRUE(autosave.write(project, std::nullopt).ok());
  auto again = autosave.trash(copy);
  ASSERT_TRUE(again.ok());
  EXPECT_NE(*again, *trashed);
  EXPECT_TRUE(fs::exists(*trashed));

  const std::string odd = (home / "a b%.autosave").string();
  writeFile(odd, "x");
  ASSERT_TRUE(Trash::moveToTrash(odd).ok());
  EXPECT_NE(readFile(home / "Trash/info/a b%.autosave.trashinfo").find("/a%20b%25.autosave\n"), std::string::npos);
}

// A process id that surely no longer exists: a child that has ended.
pid_t deadProcess() {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(0);
  ::waitpid(child, nullptr, 0);
  return child;
}

TEST_F(AutosaveFolders, TheSessionLockTellsACrashFromANormalEnd) {
  const fs::path lock = autosave.folder() / "session.lock";
  const std::string self = std::to_string(::getpid());
  const struct {
    const char* what;
    std::optional<std::string> lock;
    bool crashed;
  } cases[] = {
      {"first launch", std::nullopt, false},
      {"a dead process", std::to_string(deadProcess()) + "\n", true},
      {"this process", self, false},
      {"no number", "hello", false},
      {"a number and more", std::to_string(deadProcess()) + "x", false},
      {"zero", "0", false},
      {"negative", "-1", false},
      {"too large", "99999999999", false},
  };
  for (const auto& c : cases) {
    fs::remove(lock);
    if (c.lock) writeFile(lock, *c.lock);
    EXPECT_EQ(autosave.beginSession(), c.crashed) << c.what;
    EXPECT_EQ(readFile(lock), self) << c.what;
  }
  autosave.endSession();
  EXPECT_FALSE(fs::exists(lock));
  EXPECT_FALSE(autosave.beginSession());
}

}  // namespace
}  // namespace brevelan
