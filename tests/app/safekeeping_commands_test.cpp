#include "app/safekeeping_commands.h"

#include <gtest/gtest.h>

#include <sstream>

#include "app/srt_command.h"
#include "edit/media_probe.h"
#include "model/autosave.h"
#include "model/project_file.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::TempDir;
using testing::writeFile;

struct Outcome {
  int code;
  std::string out, err;
};

template <class Command>
Outcome run(Command command, std::vector<std::string> args) {
  std::ostringstream out, err;
  const int code = command(args, out, err);
  return {code, out.str(), err.str()};
}

// Every file's length is 10 s.
struct TenSecondProber final : MediaProber {
  Expected<MediaItem, MediaError> probe(const fs::path&) const override {
    MediaItem item;
    item.duration = 10;
    return item;
  }
};

struct Commands : ::testing::Test {
  Commands() {
    ::setenv("XDG_DATA_HOME", (dir / "data").c_str(), 1);
    Project project = Project::make();
    project.name = "Film";
    MediaItem moved;
    moved.id = Uuid::make();
    moved.path = "/gone/shot.mov";
    moved.duration = 10;
    project.media = {moved};
    EXPECT_TRUE(ProjectFile::save(project, projectFile).ok());
  }
  ~Commands() override { ::unsetenv("XDG_DATA_HOME"); }

  TempDir dir;
  fs::path projectFile = dir / "film.brevelan";
};

TEST_F(Commands, SrtCheckImportAndExport) {
  writeFile(dir / "good.srt", "1\r\n00:00:01,000 --> 00:00:02,000\r\nHello\r\n\r\n");
  writeFile(dir / "bad.srt",
            "1\n00:00:02,000 --> 00:00:01,000\nBackwards\n\n3\n00:00:00,500 --> 00:00:00,900\nOverlap\n");
  const auto srt = runSrtCommand;
  EXPECT_EQ(run(srt, {"check", (dir / "good.srt").string()}).code, 0);
  const Outcome bad = run(srt, {"check", (dir / "bad.srt").string()});
  EXPECT_EQ(bad.code, 1);
  EXPECT_EQ(bad.out,
            "block 1: start is not before end\nblock 2: number is \"3\"\nblock 2: overlaps the previous caption\n");

  const fs::path saved = dir / "with captions.brevelan";
  const Outcome imported =
      run(srt, {"import", projectFile.string(), (dir / "good.srt").string(), "--save", saved.string()});
  EXPECT_EQ(imported.code, 0) << imported.err;
  EXPECT_EQ(ProjectFile::load(saved)->sequences[0].captions.size(), 1u);

  EXPECT_EQ(run(srt, {"export", saved.string(), "-o", (dir / "out.srt").string()}).code, 0);
  EXPECT_EQ(readFile(dir / "out.srt"), "1\n00:00:01,000 --> 00:00:02,000\nHello\n\n");

  for (const std::vector<std::string>& wrong : {std::vector<std::string>{}, {"import", "p"}, {"frobnicate"}})
    EXPECT_EQ(run(srt, wrong).code, 2);
}

TEST_F(Commands, RecoverListsAndWritesCopies) {
  const Autosave autosave = Autosave::standard();
  Project project = *ProjectFile::load(projectFile);
  project.name = "Unsaved Film";
  ASSERT_TRUE(autosave.write(project, projectFile).ok());
  writeFile(autosave.folder() / "broken.autosave", "{");

  const Outcome list = run(runRecoverCommand, {"--list"});
  EXPECT_EQ(list.code, 0);
  EXPECT_EQ(list.out.rfind(project.id.str() + "\tUnsaved Film\tAutosaved ", 0), 0u) << list.out;
  EXPECT_TRUE(list.out.ends_with("\t" + projectFile.string() + "\n")) << list.out;
  EXPECT_EQ(std::count(list.out.begin(), list.out.end(), '\n'), 1);

  const fs::path out = dir / "recovered.brevelan";
  EXPECT_EQ(run(runRecoverCommand, {project.id.str(), "-o", out.string()}).code, 0);
  EXPECT_EQ(ProjectFile::load(out)->name, "Unsaved Film");
  EXPECT_EQ(run(runRecoverCommand, {Uuid::make().str(), "-o", out.string()}).code, 1);
}

TEST_F(Commands, ArchiveAndRelink) {
  const auto relinkWith = [](const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    return runRelinkCommand(args, TenSecondProber(), out, err);
  };
  fs::create_directories(dir / "empty");
  const Outcome none = run(relinkWith, {projectFile.string(), (dir / "empty").string()});
  EXPECT_EQ(none.code, 1);
  EXPECT_EQ(none.err, "brevelan: No matches: No files with the same names and lengths were found in that folder.\n");

  writeFile(dir / "new/sub/Shot.MOV", "picture");
  const fs::path relinked = dir / "relinked.brevelan";
  const Outcome found = run(relinkWith, {projectFile.string(), (dir / "new").string(), "--save", relinked.string()});
  EXPECT_EQ(found.code, 0) << found.err;
  EXPECT_EQ(found.out.rfind("Relinked 1 file", 0), 0u);
  EXPECT_EQ(ProjectFile::load(relinked)->media[0].path, (dir / "new/sub/Shot.MOV").string());

  fs::create_directories(dir / "backup");
  const Outcome archived = run(runArchiveCommand, {relinked.string(), (dir / "backup").string()});
  EXPECT_EQ(archived.code, 0) << archived.err;
  EXPECT_EQ(archived.out, (dir / "backup/Film (Archive)/Film.brevelan").string() + "\n");
  EXPECT_EQ(readFile(dir / "backup/Film (Archive)/Media/Shot.MOV"), "picture");
  const Outcome missing = run(runArchiveCommand, {projectFile.string(), (dir / "backup").string()});
  EXPECT_EQ(missing.code, 1);
  EXPECT_EQ(missing.err.rfind("brevelan: The file “shot.mov” couldn’t be archived", 0), 0u) << missing.err;
}

}  // namespace
}  // namespace brevelan
