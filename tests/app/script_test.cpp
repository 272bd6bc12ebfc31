// Drives `brevelan script` as a user would: a project file on disk, JSON lines
// on standard input, JSON lines back. The edits' worked examples live with the
// unit tests; these check that each kind of reply and the saved file come through.
#include <gtest/gtest.h>

#include <cstdio>
#include <nlohmann/json.hpp>

#include "edit/editor_fakes.h"
#include "model/project_file.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

using nlohmann::json;

struct Step {
  std::string line;
  std::string field{};  // a JSON pointer into the reply, or "" for no check
  json expected = nullptr;
};

struct ScriptRun {
  std::vector<json> replies;
  int exitCode = -1;
  Project before, saved;
};

// Runs the steps' lines on abcProject(), saved as a file, and checks each reply.
ScriptRun runScript(const std::vector<Step>& steps) {
  const testing::TempDir dir;
  ScriptRun run;
  run.before = testing::abcProject();
  EXPECT_TRUE(ProjectFile::save(run.before, dir / "abc.brevelan").ok());
  std::string input;
  for (const Step& step : steps) input += step.line + "\n";
  testing::writeFile(dir / "input.jsonl", input);
  const std::string command = std::string(BREVELAN_BINARY) + " script '" + (dir / "abc.brevelan").string() +
                              "' --save '" + (dir / "after.brevelan").string() + "' < '" +
                              (dir / "input.jsonl").string() + "' 2>&1";
  std::FILE* pipe = ::popen(command.c_str(), "r");
  char buffer[8192];
  while (pipe && std::fgets(buffer, sizeof buffer, pipe)) run.replies.push_back(json::parse(buffer));
  run.exitCode = WEXITSTATUS(::pclose(pipe));
  if (auto saved = ProjectFile::load(dir / "after.brevelan"); saved.ok()) run.saved = *saved;

  EXPECT_EQ(run.replies.size(), steps.size());
  for (std::size_t i = 0; i < std::min(steps.size(), run.replies.size()); ++i) {
    if (!steps[i].field.empty()) {
      EXPECT_EQ(run.replies[i].value(json::json_pointer(steps[i].field), json("absent")), steps[i].expected)
          << steps[i].line << " → " << run.replies[i].dump();
    }
  }
  return run;
}

TEST(Script, TrimsUndoesAndSaves) {
  const ScriptRun run = runScript({
      {R"({"op":"rippleTrim","clip":"B","edge":"tail","by":-20})", "/status", "Ripple"},
      {R"({"op":"undo"})", "/status", "Undo Ripple"},
      {R"({"op":"rippleTrim","clip":"B","edge":"head","by":-80})", "/result", -50},  // the source runs out
      {R"({"op":"undo"})", "/result", true},
      {R"({"op":"trim","clip":"A","edge":"tail","by":5})", "/result", 0},  // B is in the way
      {R"({"op":"slip","clip":"B","by":7})", "/result", 7},
      {R"({"op":"roll","clip":"A","by":10})", "/undo", 2},  // the slip, then the roll
  });
  EXPECT_EQ(run.exitCode, 0);
  BrevSequence expected = run.before.sequences[0];  // the slip and the roll, picture and sound alike
  slip(expected, testing::idOf(expected, "B"), 7, true);
  roll(expected, testing::idOf(expected, "A"), 10, true);
  ASSERT_EQ(run.saved.sequences.size(), 1u);
  EXPECT_EQ(run.saved.sequences[0], expected);
  EXPECT_EQ(std::tie(expected.video[0].clips[1].start, expected.audio[0].clips[1].sourceIn), std::tuple(110, 67));
}

TEST(Script, PlacesNestsAndReportsRefusals) {
  const ScriptRun run = runScript({
      {R"({"op":"insertEdit"})", "/alert", "Nothing to edit in"},
      {R"({"op":"insertEdit"})", "/error",
       "Double-click a clip in the Media Bin to open it in the Source viewer, then mark In (I) and Out (O)."},
      {R"({"op":"setSourceMarks","media":"clip.mov","in":0,"out":30})"},
      {R"({"op":"setTargets","video":0,"audio":0})"},
      {R"({"op":"setPlayhead","frame":150})", "/result", 150},
      {R"({"op":"insertEdit"})", "/status", "Insert"},
      {R"({"op":"clip","clip":"c"})", "/result/start", 230},  // the sound keeps sync
      {R"({"op":"undo"})", "/result", true},
      {R"({"op":"splitEdit","clip":"B","jCut":true})", "/result", true},
      {R"({"op":"clip","clip":"b"})", "/result/start", 85},
      {R"({"op":"undo"})", "/result", true},
      {R"({"op":"set","clip":"A","path":"grade.exposure","value":1})", "/result", true},
      {R"({"op":"pasteAttributes","from":"A","to":["B"],"what":2})", "/result", true},
      {R"({"op":"nestIn","sequence":"Test"})", "/alert", "Can't nest"},
      {R"({"op":"nest","clips":["A","B"]})", "/result", "Nested 2"},
      {R"({"op":"nestIn","sequence":"Nested 2","at":400})", "/result", true},
      {R"({"op":"addTransition","clip":"C","kind":"Crossfade","duration":10})", "/result", true},
      {R"({"op":"addMarker","frame":40,"name":"beat"})", "/result", true},
  });
  ASSERT_EQ(run.saved.sequences.size(), 2u);
  const BrevSequence& open = run.saved.sequences[0];
  const BrevSequence& nested = run.saved.sequences[1];
  for (const auto* tracks : {&open.video, &open.audio}) {
    const auto& clips = (*tracks)[0].clips;
    ASSERT_EQ(clips.size(), 3u);
    EXPECT_EQ(*clips[0].source.nestedID(), nested.id);
    EXPECT_EQ(std::tie(clips[0].duration, clips[1].start, clips[2].start), std::make_tuple(200, 200, 400));
  }
  EXPECT_EQ(open.video[0].clips[0].linkID, open.audio[0].clips[0].linkID);
  EXPECT_EQ(nested.video[0].clips[1].grade->exposure, 1);  // B, given A's grade
  EXPECT_TRUE(open.video[0].clips[1].transitionIn);
  ASSERT_EQ(open.markers.size(), 1u);
  EXPECT_EQ(open.markers[0].name, "beat");
}

TEST(Script, BadLinesAreReportedAndChangeNothing) {
  const ScriptRun run = runScript({
      {R"({"op":"rippleTrim","clip":"Z","edge":"tail","by":-20})", "/error",
       "There is no clip “Z” in the active sequence."},
      {R"({"op":"rippleTrim","clip":"B","edge":"middle","by":-20})"},
      {R"({"op":"roll","clip":"B","by":"ten"})"},
      {R"({"op":"fly"})"},
      {R"(not json)"},
      {R"({"op":"set","clip":"B","path":"grade.exposur","value":1})"},
      {R"({"op":"set","clip":"B","path":"duration","value":"long"})"},
      {R"({"op":"slip","clip":"B","by":1})", "/result", 1},
  });
  for (std::size_t i = 0; i + 1 < run.replies.size(); ++i) {
    EXPECT_TRUE(run.replies[i].contains("error")) << i;
    EXPECT_FALSE(run.replies[i].contains("result")) << i;
  }
  EXPECT_EQ(run.exitCode, 1);
  BrevSequence expected = run.before.sequences[0];  // only the good line changed anything
  slip(expected, testing::idOf(expected, "B"), 1, true);
  ASSERT_EQ(run.saved.sequences.size(), 1u);
  EXPECT_EQ(run.saved.sequences[0], expected);
}

}  // namespace
}  // namespace brevelan
