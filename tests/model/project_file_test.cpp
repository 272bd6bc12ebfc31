#include "model/project_file.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>

#include "support/child_process.h"
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
  writeFile(file, "old contents");
  ASSERT_TRUE(ProjectFile::save(project, file).ok());

  auto loaded = ProjectFile::load(file);
  ASSERT_TRUE(loaded.ok()) << loaded.error().message;
  EXPECT_EQ(*loaded, ProjectFile::withRelativePaths(project, file));
  // Saving what was loaded writes the same bytes again; no temporary file stays behind.
  EXPECT_EQ(ProjectFile::encode(*loaded), readFile(file));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
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
  EXPECT_EQ(clip["transform"]["fit"], "Fill");
  EXPECT_EQ(clip["speed"]["rampTo"], 2.5);
  EXPECT_EQ(doc["sequences"][0]["rate"], (json{{"num", 30000}, {"den", 1001}}));
  EXPECT_EQ(doc["sequences"][0]["video"][1]["clips"][2]["source"]["title"]["_0"]["style"], "End Credits (roll)");
  EXPECT_EQ(doc["sequences"][1]["video"][0]["clips"][0]["source"]["color"]["_0"],
            (json{{"a", 0.5}, {"b", 0.75}, {"g", 0.5}, {"r", 0.25}}));

  // Absent optionals are left out rather than written as null.
  const json& plain = doc["sequences"][0]["video"][1]["clips"][0];
  EXPECT_FALSE(plain.contains("linkID"));
  EXPECT_FALSE(plain.contains("sourceLimit"));
  EXPECT_FALSE(plain["grade"].contains("lutPath"));
  EXPECT_EQ(text.find("null"), std::string::npos);
}

// The saved JSON of the rich project after `edit`.
std::string edited(const std::function<void(json&)>& edit) {
  json doc = json::parse(ProjectFile::encode(testing::makeRichProject()));
  edit(doc);
  return doc.dump(2);
}

json& firstClip(json& doc) { return doc["sequences"][0]["video"][0]["clips"][0]; }

TEST(ProjectFile, FilesThatAreNotAProjectAreRefusedSayingWhereAndWhy) {
  using Kind = FileError::Kind;
  const std::string whole = ProjectFile::encode(testing::makeRichProject());
  struct Case {
    const char* what;
    std::optional<std::string> bytes;  // none: a folder of that name
    Kind kind;
    const char* mentions;
  };
  const Case cases[] = {
      {"not JSON", "Hello, this is a text file.\n", Kind::notJSON, "isn’t valid JSON at line 1"},
      {"truncated", whole.substr(0, whole.size() / 2), Kind::notJSON, "cut short"},
      {"empty", "", Kind::notJSON, "it is empty"},
      {"deeply nested", std::string(200000, '[') + std::string(200000, ']'), Kind::wrongFormat, "correct format"},
      {"binary", std::string("\x89PNG\r\n\x1a\n\0\0\0", 11), Kind::notJSON, "isn’t valid JSON"},
      {"a folder", std::nullopt, Kind::isFolder, ""},
      {"missing key", edited([](json& d) { firstClip(d).erase("duration"); }), Kind::decodeFailed,
       "“duration” is missing (at sequences[0].video[0].clips[0])"},
      {"wrong type", edited([](json& d) { firstClip(d)["start"] = "ten"; }), Kind::decodeFailed,
       "“start” should be a whole number (at sequences[0].video[0].clips[0].start)"},
      {"unknown enumeration", edited([](json& d) { firstClip(d)["transitionIn"]["kind"] = "Crossfader"; }),
       Kind::decodeFailed, "“Crossfader” is not a known transition kind"},
      {"source with two keys",
       edited([](json& d) { firstClip(d)["source"]["color"] = {{"_0", {{"r", 1}, {"g", 1}, {"b", 1}, {"a", 1}}}}; }),
       Kind::decodeFailed, "a clip source must name exactly one"},
      {"unknown source", edited([](json& d) { firstClip(d)["source"] = {{"film", {{"_0", 1}}}}; }),
       Kind::decodeFailed, "“film” is not a known clip source"},
      {"bad identifier", edited([](json& d) { d["id"] = "not-a-uuid"; }), Kind::decodeFailed,
       "“not-a-uuid” is not a valid identifier"},
      {"zero frame rate", edited([](json& d) { d["sequences"][0]["rate"]["num"] = 0; }), Kind::decodeFailed,
       "is not a positive rate"},
      {"format of another program", edited([](json& d) { d["format"] = "other-editor-3"; }), Kind::wrongFormat,
       "its format is “other-editor-3”"},
      {"other program, other shape", R"({"format": "cutter-2", "tracks": []})", Kind::wrongFormat,
       "not a Vael Brevelan project"},
  };
  TempDir dir;
  const auto file = dir / "bad.brevelan";
  for (const auto& c : cases) {
    std::filesystem::remove_all(file);
    if (c.bytes)
      writeFile(file, *c.bytes);
    else
      std::filesystem::create_directory(file);
    auto result = ProjectFile::load(file);
    ASSERT_FALSE(result.ok()) << c.what;
    const std::string& message = result.error().message;
    EXPECT_EQ(result.error().kind, c.kind) << c.what << ": " << message;
    EXPECT_NE(message.find(c.mentions), std::string::npos) << c.what << ": " << message;
    EXPECT_TRUE(message.starts_with("The file “bad.brevelan” couldn’t be opened because")) << message;
    EXPECT_TRUE(message.ends_with(".")) << message;
  }
  auto missing = ProjectFile::load(dir / "nothing.brevelan");
  ASSERT_FALSE(missing.ok());
  EXPECT_EQ(missing.error().kind, FileError::Kind::notFound);
  EXPECT_EQ(missing.error().message, "The file “nothing.brevelan” couldn’t be opened because there is no such file.");
}

TEST(ProjectFile, LaterFormatVersionsAndMissingOptionalsAreAccepted) {
  TempDir dir;
  writeFile(dir / "later.brevelan", edited([](json& d) {
              d["format"] = "vael-brevelan-2";
              firstClip(d).erase("linkID");
              firstClip(d)["speed"].erase("rampTo");
            }));
  auto result = ProjectFile::load(dir / "later.brevelan");
  ASSERT_TRUE(result.ok()) << result.error().message;
  EXPECT_EQ(result->format, "vael-brevelan-2");
  EXPECT_FALSE(result->sequences[0].video[0].clips[0].linkID.has_value());
}

TEST(ProjectFile, FailuresToReadOrSaveAreReportedAndLoseNothing) {
  TempDir dir;
  const auto folder = dir / "locked";
  const auto file = folder / "p.brevelan";
  std::filesystem::create_directory(folder);
  ASSERT_TRUE(ProjectFile::save(testing::makeRichProject(), file).ok());
  const std::string before = readFile(file);
  ::chmod(file.c_str(), 0644);
  ::chmod(folder.c_str(), 0555);
  EXPECT_EQ(testing::runUnprivileged([&] {
              auto saved = ProjectFile::save(Project::make(), file);
              if (saved.ok()) return 0;
              const bool worded = saved.error().message ==
                                  "You don’t have permission to save the file “p.brevelan” in the folder “locked”.";
              return saved.error().kind == FileError::Kind::noPermission && worded ? 10 : 11;
            }),
            10);
  EXPECT_EQ(readFile(file), before);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);

  ::chmod(file.c_str(), 0000);
  EXPECT_EQ(testing::runUnprivileged([&] {
              auto loaded = ProjectFile::load(file);
              return !loaded.ok() && loaded.error().kind == FileError::Kind::noPermission ? 10 : 11;
            }),
            10);

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
