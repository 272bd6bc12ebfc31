#include "edit/relink.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <map>

#include "support/temp_dir.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using testing::writeFile;

// Reads a file's length from its content ("seconds: 12.5"), as probing would.
struct FakeProber final : MediaProber {
  Expected<MediaItem, MediaError> probe(const fs::path& file) const override {
    ++probes;
    const std::string text = testing::readFile(file);
    if (text.rfind("seconds: ", 0) != 0) return Unexpected{MediaError::unreadable(file.filename().string())};
    MediaItem item;
    item.duration = std::stod(text.substr(9));
    return item;
  }
  mutable int probes = 0;
};

MediaItem item(const std::string& path, double seconds, MediaKind kind = MediaKind::video) {
  MediaItem m;
  m.id = Uuid::make();
  m.name = fs::path(path).filename().string();
  m.kind = kind;
  m.path = path;
  m.duration = seconds;
  return m;
}

std::string seconds(double s) {
  std::string text = "seconds: ";
  text += std::to_string(s);
  return text;
}

struct Relinking : ::testing::Test {
  Relinking() {
    project = Project::make();
    project.media = {item("/gone/a.mov", 10), item("/gone/Clip.MOV", 20), item("/gone/still.png", 0, MediaKind::image),
                     item("/gone/late.mov", 30), item((dir / "here.mov").string(), 5)};
    writeFile(dir / "here.mov", seconds(5));
  }
  TempDir dir;
  Project project;
  FakeProber prober;
};

TEST_F(Relinking, FindsMovedFilesByNameAndLengthInSubfolders) {
  writeFile(dir / "new/deep/er/a.mov", seconds(10.3));
  writeFile(dir / "new/clip.mov", seconds(19.6));             // another case, within 0.5 s
  writeFile(dir / "new/pics/STILL.png", "not media at all");  // pictures match by name
  writeFile(dir / "new/late.mov", seconds(31));               // a second off: refused
  writeFile(dir / "new/other/late.mov", "unreadable");

  const auto missing = Relinker::missing(project);
  ASSERT_EQ(missing.size(), 4u);
  const auto found = Relinker::search(missing, dir / "new", prober);
  EXPECT_EQ(found, (std::map<Uuid, std::string>{{project.media[0].id, (dir / "new/deep/er/a.mov").string()},
                                                {project.media[1].id, (dir / "new/clip.mov").string()},
                                                {project.media[2].id, (dir / "new/pics/STILL.png").string()}}));

  EditorModel editor(project);
  const RelinkOutcome outcome = relink(editor, dir / "new", prober);
  EXPECT_EQ(outcome.kind, RelinkOutcome::Kind::relinked);
  EXPECT_EQ(outcome.count, 3u);
  EXPECT_EQ(editor.history().undoSteps().size(), 1u);
  EXPECT_EQ(editor.history().undoSteps().back().name, "Relink 3 files");
  EXPECT_EQ(editor.state().status.rfind("Relinked ", 0), 0u);
  EXPECT_EQ(editor.project().media[1].path, (dir / "new/clip.mov").string());
  EXPECT_EQ(editor.project().media[3].path, "/gone/late.mov");
  EXPECT_EQ(Relinker::missing(editor.project()).size(), 1u);
}

TEST_F(Relinking, OneFileEachAndTheFirstFoundWins) {
  Project twins = project;
  twins.media = {item("/gone/x.mov", 10), item("/elsewhere/x.mov", 10)};
  writeFile(dir / "new/b/x.mov", seconds(10));
  writeFile(dir / "new/a/x.mov", seconds(10));
  writeFile(dir / "new/x.mov", seconds(10));
  const auto found = Relinker::search(Relinker::missing(twins), dir / "new", prober);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found.at(twins.media[0].id), (dir / "new/x.mov").string());
  EXPECT_EQ(found.at(twins.media[1].id), (dir / "new/a/x.mov").string());

}

TEST_F(Relinking, SaysWhenThereIsNothingToDo) {
  EditorModel complete([&] {
    Project p = project;
    p.media = {project.media[4]};
    return p;
  }());
  EXPECT_EQ(relink(complete, dir.path(), prober).kind, RelinkOutcome::Kind::nothingToRelink);
  ASSERT_TRUE(complete.state().alert);
  EXPECT_EQ(complete.state().alert->title, "Nothing to relink");
  EXPECT_EQ(complete.state().alert->message, "Every media file in this project is where Brevelan expects it.");

  EditorModel editor(project);
  writeFile(dir / "new/a.mov", seconds(11));  // a second off
  EXPECT_EQ(relink(editor, dir / "new", prober).kind, RelinkOutcome::Kind::noMatches);
  ASSERT_TRUE(editor.state().alert);
  EXPECT_EQ(editor.state().alert->title, "No matches");
  EXPECT_EQ(editor.state().alert->message, "No files with the same names and lengths were found in that folder.");
  EXPECT_FALSE(editor.history().canUndo());

  EXPECT_EQ(Relinker::folderPrompt(1),
            "Choose the folder that now holds the 1 missing file (subfolders are searched too)");
  EXPECT_EQ(Relinker::folderPrompt(3),
            "Choose the folder that now holds the 3 missing files (subfolders are searched too)");
}

TEST_F(Relinking, UnreadableSubfoldersAreSkipped) {
  writeFile(dir / "new/locked/a.mov", seconds(10));
  writeFile(dir / "new/open/Clip.MOV", seconds(20));
  ::chmod((dir / "new/locked").c_str(), 0);
  fs::create_symlink(dir / "new", dir / "new/open/loop");  // not followed
  const std::vector<MediaItem> missing = Relinker::missing(project);

  // Root reads every folder, so the walk runs as another user.
  auto search = [&] {
    const auto found = Relinker::search(missing, dir / "new", prober);
    return found.size() == 1 && found.count(project.media[1].id) ? 10 : 11;
  };
  int result = 0;
  if (::geteuid() != 0) {
    result = search();
  } else if (const pid_t child = ::fork(); child == 0) {
    ::_exit(::setgid(65534) == 0 && ::setuid(65534) == 0 ? search() : 99);
  } else {
    int status = 0;
    ::waitpid(child, &status, 0);
    result = WIFEXITED(status) ? WEXITSTATUS(status) : 98;
  }
  EXPECT_EQ(result, 10);
}

}  // namespace
}  // namespace brevelan
