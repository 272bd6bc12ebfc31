#include <gtest/gtest.h>

#include "model/project_file.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using testing::writeFile;

TEST(RelativePath, FromTheProjectFolderToAMediaFile) {
  struct Case {
    const char* path;
    const char* folder;
    std::optional<std::string> expected;
  };
  const Case cases[] = {
      {"/A/Project/x.mov", "/A/Project", "x.mov"},
      {"/A/Media/x.mov", "/A/Project", "../Media/x.mov"},
      {"/A/Media/Day 1/x.mov", "/A/Project/Edits", "../../Media/Day 1/x.mov"},
      {"/A/Project/../Media/./x.mov", "/A/Project/", "../Media/x.mov"},  // standardised first
      {"/Volumes/Other/x.mov", "/A/Project", std::nullopt},              // only "/" in common
      {"/x.mov", "/A", std::nullopt},
  };
  for (const auto& c : cases) EXPECT_EQ(ProjectFile::relative(c.path, c.folder), c.expected) << c.path;
}

// Builds root/Project/p.brevelan with one movie in root/Media and one on
// "another volume" (outside root), saved.
struct MovedFolder {
  TempDir root;
  TempDir elsewhere;
  fs::path project = root / "Project" / "p.brevelan";
  fs::path movie = root / "Media" / "x.mov";
  fs::path far = elsewhere / "far.mov";

  MovedFolder() {
    writeFile(movie, "movie");
    writeFile(far, "far");
    Project p = Project::make();
    MediaItem near;
    near.id = Uuid::make();
    near.path = movie.string();
    MediaItem other = near;
    other.id = Uuid::make();
    other.path = far.string();
    p.media = {near, other};
    fs::create_directories(project.parent_path());
    EXPECT_TRUE(ProjectFile::save(p, project).ok());
  }
};

TEST(RelativePath, SavedBesideTheAbsolutePath) {
  MovedFolder setup;
  auto loaded = ProjectFile::load(setup.project);
  ASSERT_TRUE(loaded.ok()) << loaded.error().message;
  EXPECT_EQ(loaded->media[0].relativePath, "../Media/x.mov");
  EXPECT_EQ(loaded->media[0].path, setup.movie.string());
  // Both temporary folders share /tmp, so the far file is reached through it.
  EXPECT_EQ(loaded->media[1].relativePath,
            "../../" + setup.elsewhere.path().filename().string() + "/far.mov");
}

TEST(RelativePath, AProjectFolderCopiedElsewhereFindsItsMedia) {
  MovedFolder setup;
  TempDir destination;
  const fs::path copy = destination / "B";
  fs::copy(setup.root.path(), copy, fs::copy_options::recursive);
  fs::remove_all(setup.root.path() / "Media");  // the original media are gone

  auto loaded = ProjectFile::load(copy / "Project" / "p.brevelan");
  ASSERT_TRUE(loaded.ok()) << loaded.error().message;
  EXPECT_EQ(loaded->media[0].path, (copy / "Media" / "x.mov").string());
  // A file that still exists where it was is left alone.
  EXPECT_EQ(loaded->media[1].path, setup.far.string());
}

TEST(RelativePath, MediaThatCannotBeFoundKeepTheirPath) {
  MovedFolder setup;
  fs::remove(setup.movie);
  auto loaded = ProjectFile::load(setup.project);
  ASSERT_TRUE(loaded.ok());
  EXPECT_EQ(loaded->media[0].path, setup.movie.string());
}

TEST(RelativePath, AFileOnAnotherVolumeGetsNone) {
  Project p = Project::make();
  MediaItem item;
  item.path = "/mnt/card/clip.mov";
  p.media = {item};
  const Project withPaths = ProjectFile::withRelativePaths(p, "/home/editor/Films/p.brevelan");
  EXPECT_EQ(withPaths.media[0].relativePath, std::nullopt);
}

}  // namespace
}  // namespace brevelan
