#include "model/archiver.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "model/project_file.h"
#include "support/child_process.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::runInChild;
using testing::runUnprivileged;
using testing::TempDir;
using testing::writeFile;

MediaItem media(const fs::path& path) {
  MediaItem item;
  item.id = Uuid::make();
  item.name = path.filename().string();
  item.path = path.string();
  item.duration = 4;
  return item;
}

// A project using three files, two of them named alike, and one LUT on two clips.
struct Archiving : ::testing::Test {
  Archiving() {
    writeFile(dir / "shoot/a/clip.mov", "first clip");
    writeFile(dir / "shoot/b/Clip.MOV", "second clip, same name");
    writeFile(dir / "shoot/song.wav", std::string(3 << 20, 's'));
    writeFile(dir / "looks/film.cube", "LUT_1D_SIZE 2\n0 0 0\n1 1 1\n");
    project = Project::make();
    project.name = "Trip";
    project.media = {media(dir / "shoot/a/clip.mov"), media(dir / "shoot/b/Clip.MOV"), media(dir / "shoot/song.wav")};
    Track& track = project.sequences.mut(0).video.mut(0);
    for (int i = 0; i < 2; ++i) {
      Clip clip = Clip::make(ClipSource::media(project.media[0].id), "c", i * 100, 50);
      clip.grade.mut().lutPath = (dir / "looks/film.cube").string();
      track.clips.push_back(clip);
    }
    fs::create_directories(dir / "backup");
  }

  TempDir dir;
  Project project;
};

TEST_F(Archiving, CopiesEverythingNextToAProjectThatPointsAtTheCopies) {
  std::vector<double> progress;
  auto archived = Archiver::collect(project, dir / "backup", [&](double p) { progress.push_back(p); });
  ASSERT_TRUE(archived.ok()) << archived.error().message;

  const fs::path folder = dir / "backup/Trip (Archive)";
  EXPECT_EQ(*archived, folder / "Trip.brevelan");
  EXPECT_EQ(readFile(folder / "Media/clip.mov"), "first clip");
  EXPECT_EQ(readFile(folder / "Media/Clip 2.MOV"), "second clip, same name");
  EXPECT_EQ(fs::file_size(folder / "Media/song.wav"), 3u << 20);
  EXPECT_EQ(readFile(folder / "LUTs/film.cube"), readFile(dir / "looks/film.cube"));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder / "LUTs"), {}), 1);

  auto loaded = ProjectFile::load(*archived);
  ASSERT_TRUE(loaded.ok());
  EXPECT_EQ(loaded->media[1].path, (folder / "Media/Clip 2.MOV").string());
  for (const Clip& clip : loaded->sequences[0].video[0].clips)
    EXPECT_EQ(clip.grade->lutPath, (folder / "LUTs/film.cube").string());
  // Apart from where the files are, the copy is the project.
  Project expected = *loaded;
  for (std::size_t i = 0; i < expected.media.size(); ++i) {
    expected.media.mut(i).path = project.media[i].path;
    expected.media.mut(i).relativePath = std::nullopt;
  }
  EXPECT_EQ(expected.media, project.media);

  EXPECT_EQ(progress.back(), 1);
  EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
}

TEST_F(Archiving, ASecondArchiveGetsTheNextFreeNameAndAFailureLeavesNothing) {
  ASSERT_TRUE(Archiver::collect(project, dir / "backup").ok());
  EXPECT_EQ(Archiver::collect(project, dir / "backup")->parent_path().filename(), "Trip (Archive 2)");
  fs::remove_all(dir / "backup/Trip (Archive)");
  fs::remove_all(dir / "backup/Trip (Archive 2)");

  fs::remove(dir / "shoot/song.wav");
  auto missing = Archiver::collect(project, dir / "backup");
  ASSERT_FALSE(missing.ok());
  EXPECT_EQ(missing.error().kind, FileError::Kind::notFound);
  EXPECT_NE(missing.error().message.find("“song.wav”"), std::string::npos) << missing.error().message;
  EXPECT_TRUE(fs::is_empty(dir / "backup"));
  EXPECT_EQ(Archiver::collect(project, dir / "nowhere").error().message,
            "The archive couldn’t be made because the folder “nowhere” doesn’t exist.");
}

TEST_F(Archiving, NoPermissionOrAFullDiskLeavesNothingBehind) {
  ::chmod((dir / "backup").c_str(), 0555);
  EXPECT_EQ(runUnprivileged([&] {
              auto archived = Archiver::collect(project, dir / "backup");
              if (archived.ok()) return 0;
              const bool worded = archived.error().message ==
                                  "You don’t have permission to make the archive folder “Trip (Archive)” in the folder “backup”.";
              return archived.error().kind == FileError::Kind::noPermission && worded ? 10 : 11;
            }),
            10);
  ::chmod((dir / "backup").c_str(), 0755);

  // A disk that fills up during the copy: the file size limit stands in for it.
  const int full = runInChild(
      [&] {
        auto archived = Archiver::collect(project, dir / "backup");
        return !archived.ok() && archived.error().message.find("“song.wav”") != std::string::npos ? 10 : 11;
      },
      [] {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{1 << 20, 1 << 20};
        return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
      });
  EXPECT_EQ(full, 10);
  EXPECT_TRUE(fs::is_empty(dir / "backup"));
}

}  // namespace
}  // namespace brevelan
