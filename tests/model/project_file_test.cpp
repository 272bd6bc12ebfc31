#include "model/project_file.h"

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>

#include "support/rich_project.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

using nlohmann::json;
using testing::readFile;
using testing::TempDir;
using testing::writeFile;

TEST(ProjectFile, RoundTripKeepsEveryRecordAndValue) {
  TempDir dir;
  const Project project = testing::makeRichProject();
  const auto file = dir / "rich.brevelan";
  ASSERT_TRUE(ProjectFile::save(project, file).ok());

  auto loaded = ProjectFile::load(file);
  ASSERT_TRUE(loaded.ok()) << loaded.error().message;
  EXPECT_EQ(*loaded, ProjectFile::withRelativePaths(project, file));
  // Saving what was loaded writes the same bytes again.
  EXPECT_EQ(ProjectFile::encode(*loaded), readFile(file));
}

TEST(ProjectFile, WritesSortedPrettyJSONInTheDocumentedShape) {
  TempDir dir;
  Project project = testing::makeRichProject();
  project.created = Date{12.5};
  const auto file = dir / "shape.brevelan";
  ASSERT_TRUE(ProjectFile::save(project, file).ok());
  const std::string text = readFile(file);
  const json doc = json::parse(text);

  EXPECT_NE(text.find("\n  \"activeSequenceID\": "), std::string::npos);  // one member per line
  // Every object, at every depth, in the file's own order, has sorted keys.
  std::function<void(const nlohmann::ordered_json&, const std::string&)> expectSorted =
      [&](const nlohmann::ordered_json& node, const std::string& where) {
        if (!node.is_structured()) return;
        std::string previous;
        bool first = true;
        for (auto it = node.begin(); it != node.end(); ++it) {
          if (node.is_object()) {
            EXPECT_TRUE(first || previous < it.key()) << where << ": " << previous << " before " << it.key();
            previous = it.key();
            first = false;
          }
          expectSorted(*it, where + "/" + (node.is_object() ? it.key() : "[]"));
        }
      };
  expectSorted(nlohmann::ordered_json::parse(text), "");
  EXPECT_EQ(doc["format"], "vael-brevelan-1");
  EXPECT_EQ(doc["created"], 12.5);
  EXPECT_EQ(doc["id"], project.id.str());

  const json& clip = doc["sequences"][0]["video"][0]["clips"][0];
  EXPECT_EQ(clip["source"], (json{{"media", {{"_0", project.media[0].id.str()}}}}));
  EXPECT_EQ(clip["transitionIn"]["kind"], "Dip to Color");
  EXPECT_EQ(clip["transitionIn"]["direction"], "Up");
  EXPECT_EQ(clip["transform"]["fit"], "Fill");
  EXPECT_EQ(clip["speed"]["rampTo"], 2.5);
  EXPECT_EQ(doc["sequences"][0]["rate"], (json{{"num", 30000}, {"den", 1001}}));
  EXPECT_EQ(doc["sequences"][0]["video"][1]["clips"][2]["source"]["title"]["_0"]["style"], "End Credits (roll)");
  EXPECT_EQ(doc["sequences"][1]["video"][0]["clips"][0]["source"]["color"]["_0"],
            (json{{"a", 0.5}, {"b", 0.75}, {"g", 0.5}, {"r", 0.25}}));
  EXPECT_EQ(doc["media"][2]["kind"], "image");

  // Absent optionals are left out rather than written as null.
  const json& plain = doc["sequences"][0]["video"][1]["clips"][0];
  EXPECT_FALSE(plain.contains("linkID"));
  EXPECT_FALSE(plain.contains("sourceLimit"));
  EXPECT_FALSE(plain["speed"].contains("rampTo"));
  EXPECT_FALSE(plain["grade"].contains("lutPath"));
  EXPECT_FALSE(doc["media"][1].contains("proxyPath"));
  EXPECT_EQ(text.find("null"), std::string::npos);
}

TEST(ProjectFile, SaveReplacesTheOldFileAndLeavesNoTemporaryFiles) {
  TempDir dir;
  const auto file = dir / "p.brevelan";
  writeFile(file, "old contents");
  Project project = Project::make();
  ASSERT_TRUE(ProjectFile::save(project, file).ok());
  project.name = "Second";
  ASSERT_TRUE(ProjectFile::save(project, file).ok());
  EXPECT_EQ(ProjectFile::load(file)->name, "Second");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
}

// Edits the saved JSON of a small project, then loads it.
Expected<Project, FileError> loadEdited(const TempDir& dir, const std::function<void(json&)>& edit) {
  Project project = testing::makeRichProject();
  json doc = json::parse(ProjectFile::encode(project));
  edit(doc);
  const auto file = dir / "edited.brevelan";
  writeFile(file, doc.dump(2));
  return ProjectFile::load(file);
}

json& firstClip(json& doc) { return doc["sequences"][0]["video"][0]["clips"][0]; }

TEST(ProjectFile, DocumentsThatDoNotDecodeAreRefusedWithTheirPlace) {
  struct Case {
    const char* what;
    std::function<void(json&)> edit;
    FileError::Kind kind;
    const char* mentions;
  };
  const Case cases[] = {
      {"missing key", [](json& d) { firstClip(d).erase("duration"); }, FileError::Kind::decodeFailed,
       "“duration” is missing (at sequences[0].video[0].clips[0])"},
      {"wrong type", [](json& d) { firstClip(d)["start"] = "ten"; }, FileError::Kind::decodeFailed,
       "“start” should be a whole number (at sequences[0].video[0].clips[0].start)"},
      {"fraction for an integer", [](json& d) { firstClip(d)["start"] = 1.5; }, FileError::Kind::decodeFailed,
       "should be a whole number"},
      {"unknown enumeration", [](json& d) { firstClip(d)["transitionIn"]["kind"] = "Crossfader"; },
       FileError::Kind::decodeFailed, "“Crossfader” is not a known transition kind"},
      {"source with two keys",
       [](json& d) { firstClip(d)["source"]["color"] = {{"_0", {{"r", 1}, {"g", 1}, {"b", 1}, {"a", 1}}}}; },
       FileError::Kind::decodeFailed, "a clip source must name exactly one"},
      {"unknown source", [](json& d) { firstClip(d)["source"] = {{"film", {{"_0", 1}}}}; },
       FileError::Kind::decodeFailed, "“film” is not a known clip source"},
      {"bad identifier", [](json& d) { d["id"] = "not-a-uuid"; }, FileError::Kind::decodeFailed,
       "“not-a-uuid” is not a valid identifier"},
      {"zero frame rate", [](json& d) { d["sequences"][0]["rate"]["num"] = 0; }, FileError::Kind::decodeFailed,
       "is not a positive rate"},
      {"top level is a list", [](json& d) { d = json::array({1, 2}); }, FileError::Kind::wrongFormat,
       "isn’t in the correct format"},
      {"format of another program", [](json& d) { d["format"] = "other-editor-3"; }, FileError::Kind::wrongFormat,
       "its format is “other-editor-3”"},
      {"other program, other shape", [](json& d) { d = {{"format", "cutter-2"}, {"tracks", json::array()}}; },
       FileError::Kind::wrongFormat, "not a Vael Brevelan project"},
  };
  TempDir dir;
  for (const auto& c : cases) {
    auto result = loadEdited(dir, c.edit);
    ASSERT_FALSE(result.ok()) << c.what;
    EXPECT_EQ(result.error().kind, c.kind) << c.what;
    EXPECT_NE(result.error().message.find(c.mentions), std::string::npos) << c.what << ": " << result.error().message;
    EXPECT_TRUE(result.error().message.starts_with("The file “edited.brevelan” couldn’t be opened because"))
        << result.error().message;
    EXPECT_TRUE(result.error().message.ends_with(".")) << result.error().message;
  }
}

TEST(ProjectFile, LaterFormatVersionsAndMissingOptionalsAreAccepted) {
  TempDir dir;
  auto result = loadEdited(dir, [](json& d) {
    d["format"] = "vael-brevelan-2";
    firstClip(d).erase("linkID");
    firstClip(d)["speed"].erase("rampTo");
  });
  ASSERT_TRUE(result.ok()) << result.error().message;
  EXPECT_EQ(result->format, "vael-brevelan-2");
  EXPECT_FALSE(result->sequences[0].video[0].clips[0].linkID.has_value());
}

TEST(ProjectFile, BytesThatAreNotAProjectAreRefused) {
  TempDir dir;
  const std::string whole = ProjectFile::encode(testing::makeRichProject());
  struct Case {
    const char* what;
    std::string bytes;
    const char* mentions;
  };
  const Case cases[] = {
      {"not JSON", "Hello, this is a text file.\n", "isn’t valid JSON at line 1"},
      {"truncated", whole.substr(0, whole.size() / 2), "cut short"},
      {"empty", "", "it is empty"},
      {"deeply nested", std::string(200000, '[') + std::string(200000, ']'), "correct format"},
      {"binary", std::string("\x89PNG\r\n\x1a\n\0\0\0", 11), "isn’t valid JSON"},
  };
  for (const auto& c : cases) {
    const auto file = dir / "bad.brevelan";
    writeFile(file, c.bytes);
    auto result = ProjectFile::load(file);
    ASSERT_FALSE(result.ok()) << c.what;
    EXPECT_NE(result.error().message.find(c.mentions), std::string::npos) << c.what << ": " << result.error().message;
  }
}

TEST(ProjectFile, LoadNamesWhyAFileCannotBeRead) {
  TempDir dir;
  auto missing = ProjectFile::load(dir / "nothing.brevelan");
  ASSERT_FALSE(missing.ok());
  EXPECT_EQ(missing.error().kind, FileError::Kind::notFound);
  EXPECT_EQ(missing.error().message, "The file “nothing.brevelan” couldn’t be opened because there is no such file.");

  std::filesystem::create_directory(dir / "folder.brevelan");
  auto folder = ProjectFile::load(dir / "folder.brevelan");
  ASSERT_FALSE(folder.ok());
  EXPECT_EQ(folder.error().kind, FileError::Kind::isFolder);
}

// Runs `body` in a child process without root's privileges (or directly when
// not root) and returns its exit code, so permission checks are real in CI too.
int runUnprivileged(const std::function<int()>& body) {
  if (::geteuid() != 0) return body();
  pid_t child = ::fork();
  if (child == 0) {
    if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(99);
    ::_exit(body());
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 98;
}

TEST(ProjectFile, PermissionFailuresAreReportedAndLoseNothing) {
  TempDir dir;
  const auto folder = dir / "locked";
  const auto file = folder / "p.brevelan";
  std::filesystem::create_directory(folder);
  ASSERT_TRUE(ProjectFile::save(testing::makeRichProject(), file).ok());
  const std::string before = readFile(file);
  ::chmod(file.c_str(), 0644);
  ::chmod(folder.c_str(), 0555);

  const int saveResult = runUnprivileged([&] {
    auto saved = ProjectFile::save(Project::make(), file);
    if (saved.ok()) return 0;
    const bool worded = saved.error().message ==
                        "You don’t have permission to save the file “p.brevelan” in the folder “locked”.";
    return saved.error().kind == FileError::Kind::noPermission && worded ? 10 : 11;
  });
  EXPECT_EQ(saveResult, 10);
  EXPECT_EQ(readFile(file), before);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);

  ::chmod(file.c_str(), 0000);
  const int loadResult = runUnprivileged([&] {
    auto loaded = ProjectFile::load(file);
    if (loaded.ok()) return 0;
    return loaded.error().kind == FileError::Kind::noPermission ? 10 : 11;
  });
  EXPECT_EQ(loadResult, 10);
}

TEST(ProjectFile, SaveIntoAMissingFolderOrOverAFolderFails) {
  TempDir dir;
  auto noFolder = ProjectFile::save(Project::make(), dir / "absent" / "p.brevelan");
  ASSERT_FALSE(noFolder.ok());
  EXPECT_EQ(noFolder.error().message, "The file “p.brevelan” couldn’t be saved because the folder “absent” doesn’t exist.");

  std::filesystem::create_directories(dir / "taken.brevelan" / "inside");
  auto overFolder = ProjectFile::save(Project::make(), dir / "taken.brevelan");
  ASSERT_FALSE(overFolder.ok());
  EXPECT_EQ(overFolder.error().kind, FileError::Kind::isFolder);
  EXPECT_TRUE(std::filesystem::exists(dir / "taken.brevelan" / "inside"));
}

}  // namespace
}  // namespace brevelan
