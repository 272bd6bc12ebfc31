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

// root/Project/p.brevelan uses root/Media/x.mov and a file outside root; the
// root folder is copied elsewhere and the original media removed.
TEST(RelativePath, AProjectFolderCopiedElsewhereFindsItsMedia) {
  TempDir root, elsewhere, destination;
  const fs::path project = root / "Project/p.brevelan", movie = root / "Media/x.mov", far = elsewhere / "far.mov";
  writeFile(movie, "movie");
  writeFile(far, "far");
  Project p = Project::make();
  p.media = {MediaItem{}, MediaItem{}};
  p.media.mut(0).id = Uuid::make();
  p.media.mut(0).path = movie.string();
  p.media.mut(1).id = Uuid::make();
  p.media.mut(1).path = far.string();
  fs::create_directories(project.parent_path());
  ASSERT_TRUE(ProjectFile::save(p, project).ok());

  auto loaded = ProjectFile::load(project);
  ASSERT_TRUE(loaded.ok()) << loaded.error().message;
  EXPECT_EQ(loaded->media[0].relativePath, "../Media/x.mov");
  EXPECT_EQ(loaded->media[0].path, movie.string());
  // Both temporary folders share /tmp, so the far file is reached through it.
  EXPECT_EQ(loaded->media[1].relativePath, "../../" + elsewhere.path().filename().string() + "/far.mov");

  const fs::path copy = destination / "B";
  fs::copy(root.path(), copy, fs::copy_options::recursive);
  fs::remove_all(root / "Media");
  loaded = ProjectFile::load(copy / "Project/p.brevelan");
  ASSERT_TRUE(loaded.ok()) << loaded.error().message;
  EXPECT_EQ(loaded->media[0].path, (copy / "Media/x.mov").string());
  EXPECT_EQ(loaded->media[1].path, far.string());  // still where it was: left alone

  // Media found neither way keep their stored path.
  fs::remove_all(copy / "Media");
  loaded = ProjectFile::load(copy / "Project/p.brevelan");
  ASSERT_TRUE(loaded.ok());
  EXPECT_EQ(loaded->media[0].path, movie.string());
}

}  // namespace
}  // namespace brevelan
