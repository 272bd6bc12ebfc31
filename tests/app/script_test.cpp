// Drives `brevelan script` as a user would: a project file on disk, JSON lines
// on standard input, JSON lines back.
#include <gtest/gtest.h>

#include <cstdio>
#include <nlohmann/json.hpp>

#include "model/project_file.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

using nlohmann::json;

// A 0..100, B 100..200 (source In 50), C 200..300 on V1, each linked to the
// same clip on A1 ("A-sound", …); every source is 1000 frames long.
Project abcProject() {
  Project project = Project::make();
  BrevSequence& seq = project.sequences.mut(0);
  const Uuid media = Uuid::make();
  const char* names[] = {"A", "B", "C"};
  for (int i = 0; i < 3; ++i) {
    Clip picture = Clip::make(ClipSource::media(media), names[i], i * 100, 100, i == 1 ? 50 : 0, 1000);
    picture.linkID = Uuid::make();
    Clip sound = picture;
    sound.id = Uuid::make();
    sound.name = std::string(names[i]) + "-sound";
    seq.video.mut(0).clips.push_back(picture);
    seq.audio.mut(0).clips.push_back(sound);
  }
  return project;
}

struct ScriptRun {
  std::vector<json> replies;
  int exitCode = -1;
};

ScriptRun runScript(const testing::TempDir& dir, const std::string& lines, const std::string& extra = "") {
  const auto project = dir / "abc.brevelan";
  const auto input = dir / "input.jsonl";
  testing::writeFile(input, lines);
  const std::string command = std::string(BREVELAN_BINARY) + " script '" + project.string() + "' " + extra +
                              " < '" + input.string() + "' 2>&1";
  ScriptRun run;
  std::FILE* pipe = ::popen(command.c_str(), "r");
  char buffer[4096];
  while (pipe && std::fgets(buffer, sizeof buffer, pipe)) run.replies.push_back(json::parse(buffer));
  run.exitCode = WEXITSTATUS(::pclose(pipe));
  return run;
}

TEST(Script, ReproducesTheTrimToolExamples) {
  testing::TempDir dir;
  ASSERT_TRUE(ProjectFile::save(abcProject(), dir / "abc.brevelan").ok());
  struct Step {
    const char* line;
    json result;
  };
  const Step steps[] = {
      {R"({"op":"rippleTrim","clip":"B","edge":"tail","by":-20})", -20},
      {R"({"op":"undo"})", true},
      {R"({"op":"rippleTrim","clip":"B","edge":"head","by":10})", 10},
      {R"({"op":"undo"})", true},
      {R"({"op":"rippleTrim","clip":"B","edge":"head","by":-80})", -50},  // the source runs out
      {R"({"op":"undo"})", true},
      {R"({"op":"roll","clip":"A","by":-60})", -50},
      {R"({"op":"undo"})", true},
      {R"({"op":"trim","clip":"A","edge":"tail","by":5})", 0},  // B is in the way
      {R"({"op":"slip","clip":"B","by":7})", 7},
      {R"({"op":"slide","clip":"B","by":15})", 15},
      {R"({"op":"blade","clip":"C","at":250})", true},
      {R"({"op":"undo"})", true},
      {R"({"op":"undo"})", true},
      {R"({"op":"roll","clip":"A","by":10})", 10},
  };
  std::string lines;
  for (const Step& step : steps) lines += std::string(step.line) + "\n";
  const auto saved = dir / "after.brevelan";
  ScriptRun run = runScript(dir, lines, "--save '" + saved.string() + "'");
  ASSERT_EQ(run.replies.size(), std::size(steps));
  EXPECT_EQ(run.exitCode, 0);
  for (std::size_t i = 0; i < std::size(steps); ++i)
    EXPECT_EQ(run.replies[i]["result"], steps[i].result) << steps[i].line << " → " << run.replies[i].dump();
  EXPECT_EQ(run.replies[0]["status"], "Ripple");
  EXPECT_EQ(run.replies[1]["status"], "Undo Ripple");
  EXPECT_EQ(run.replies.back()["undo"], 2);  // the slip, then the roll

  // After slip B +7 and roll A|B +10: A is 110 long, B starts at 110 with
  // source 67, C untouched — picture and sound alike.
  auto project = ProjectFile::load(saved);
  ASSERT_TRUE(project.ok()) << project.error().message;
  for (const auto* tracks : {&project->sequences[0].video, &project->sequences[0].audio}) {
    const auto& clips = (*tracks)[0].clips;
    ASSERT_EQ(clips.size(), 3u);
    EXPECT_EQ(clips[0].duration, 110);
    EXPECT_EQ(clips[1].start, 110);
    EXPECT_EQ(clips[1].duration, 90);
    EXPECT_EQ(clips[1].sourceIn, 67);
    EXPECT_EQ(clips[2].start, 200);
  }
}

TEST(Script, BadLinesAreReportedAndChangeNothing) {
  testing::TempDir dir;
  ASSERT_TRUE(ProjectFile::save(abcProject(), dir / "abc.brevelan").ok());
  const char* bad[] = {
      R"({"op":"rippleTrim","clip":"Z","edge":"tail","by":-20})",
      R"({"op":"rippleTrim","clip":"B","edge":"middle","by":-20})",
      R"({"op":"roll","clip":"B","by":"ten"})",
      R"({"op":"fly"})",
      R"(not json)",
      R"({"op":"set","clip":"B","path":"grade.exposur","value":1})",
      R"({"op":"set","clip":"B","path":"duration","value":"long"})",
  };
  std::string lines;
  for (const char* line : bad) lines += std::string(line) + "\n";
  lines += R"({"op":"slip","clip":"B","by":1})" "\n";
  ScriptRun run = runScript(dir, lines);
  ASSERT_EQ(run.replies.size(), std::size(bad) + 1);
  for (std::size_t i = 0; i < std::size(bad); ++i) {
    EXPECT_TRUE(run.replies[i].contains("error")) << bad[i];
    EXPECT_FALSE(run.replies[i].contains("result")) << bad[i];
  }
  EXPECT_EQ(run.replies[0]["error"], "There is no clip “Z” in the active sequence.");
  EXPECT_EQ(run.replies.back()["undo"], 1);  // only the good line made a step
  EXPECT_EQ(run.exitCode, 1);
}

}  // namespace
}  // namespace brevelan
