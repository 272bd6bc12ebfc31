#include "edit/relink.h"
#include "model/project_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>

#include "support/child_process.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using testing::writeFile;

// Reads a file's length from its content ("seconds: 12.5"), as probing would.
struct FakeProber final : MediaProber {
  Expected<MediaItem, MediaError> probe(const fs::path& file) const override {
    const std::string text = testing::readFile(file);
    if (text.rfind("seconds: ", 0) != 0) return Unexpected{MediaError::unreadable(file.filename().string())};
    MediaItem item;
    item.duration = std::stod(text.substr(9));
    return item;
  }
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

std::string seconds(double s) { return "seconds: " + std::to_string(s); }

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

  EditorModel editor(project);
  const RelinkOutcome outcome = relink(editor, dir / "new", prober);
  EXPECT_EQ(outcome.kind, RelinkOutcome::Kind::relinked);
  EXPECT_EQ(outcome.count, 3u);
  EXPECT_EQ(editor.history().undoSteps().back().name, "Relink 3 files");
  const auto& media = editor.project().media;
  EXPECT_EQ(std::vector({media[0].path, media[1].path, media[2].path, media[3].path}),
            std::vector<std::string>({(dir / "new/deep/er/a.mov").string(), (dir / "new/clip.mov").string(),
                                      (dir / "new/pics/STILL.png").string(), "/gone/late.mov"}));
}

TEST_F(Relinking, OneFileEachAndTheFirstFoundWins) {
  project.media = {item("/gone/x.mov", 10), item("/elsewhere/x.mov", 10)};
  for (const char* file : {"new/b/x.mov", "new/a/x.mov", "new/x.mov"}) writeFile(dir / file, seconds(10));
  const auto found = Relinker::search(ProjectFile::missingMedia(project), dir / "new", prober);
  EXPECT_EQ(found, (std::map<Uuid, std::string>{{project.media[0].id, (dir / "new/x.mov").string()},
                                                {project.media[1].id, (dir / "new/a/x.mov").string()}}));
}

TEST_F(Relinking, SaysWhenThereIsNothingToDo) {
  EditorModel editor(project);
  writeFile(dir / "new/a.mov", seconds(11));  // a second off
  EXPECT_EQ(relink(editor, dir / "new", prober).kind, RelinkOutcome::Kind::noMatches);
  EXPECT_EQ(editor.state().alert->message, "No files with the same names and lengths were found in that folder.");
  EXPECT_FALSE(editor.history().canUndo());
  project.media = {project.media[4]};
  EditorModel complete(project);
  EXPECT_EQ(relink(complete, dir.path(), prober).kind, RelinkOutcome::Kind::nothingToRelink);
}

TEST_F(Relinking, UnreadableSubfoldersAreSkipped) {
  writeFile(dir / "new/locked/a.mov", seconds(10));
  writeFile(dir / "new/open/Clip.MOV", seconds(20));
  ::chmod((dir / "new/locked").c_str(), 0);
  fs::create_symlink(dir / "new", dir / "new/open/loop");  // not followed
  const std::vector<MediaItem> missing = ProjectFile::missingMedia(project);
  EXPECT_EQ(testing::runUnprivileged([&] {
              const auto found = Relinker::search(missing, dir / "new", prober);
              return found.size() == 1 && found.count(project.media[1].id) ? 10 : 11;
            }),
            10);
}

}  // namespace
}  // namespace brevelan
