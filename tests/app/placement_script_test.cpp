// The placement, nesting and split edits driven through `brevelan script`
// from a project file, as a user would.
#include <gtest/gtest.h>

#include <cstdio>
#include <nlohmann/json.hpp>

#include "model/project_file.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

using nlohmann::json;

// A 0..100, B 100..200 (source In 50), C 200..300 on V1, each linked to its
// sound ("A-sound", …) on A1, all cut from "clip.mov" (1000 frames, with sound).
Project abcProject() {
  Project project = Project::make();
  MediaItem movie;
  movie.id = Uuid::make();
  movie.name = "clip.mov";
  movie.path = "/nowhere/clip.mov";
  movie.duration = 1000.0 / 30;
  movie.hasVideo = movie.hasAudio = true;
  project.media = {movie};
  BrevSequence& seq = project.sequences.mut(0);
  const char* names[] = {"A", "B", "C"};
  for (int i = 0; i < 3; ++i) {
    Clip picture = Clip::make(ClipSource::media(movie.id), names[i], i * 100, 100, i == 1 ? 50 : 0, 1000);
    picture.linkID = Uuid::make();
    Clip sound = picture;
    sound.id = Uuid::make();
    sound.name = std::string(names[i]) + "-sound";
    seq.video.mut(0).clips.push_back(picture);
    seq.audio.mut(0).clips.push_back(sound);
  }
  return project;
}

std::vector<json> run(const testing::TempDir& dir, const std::string& lines, const std::filesystem::path& saveTo) {
  testing::writeFile(dir / "input.jsonl", lines);
  const std::string command = std::string(BREVELAN_BINARY) + " script '" + (dir / "abc.brevelan").string() +
                              "' --save '" + saveTo.string() + "' < '" + (dir / "input.jsonl").string() + "' 2>&1";
  std::vector<json> replies;
  std::FILE* pipe = ::popen(command.c_str(), "r");
  char buffer[8192];
  while (pipe && std::fgets(buffer, sizeof buffer, pipe)) replies.push_back(json::parse(buffer));
  if (pipe) ::pclose(pipe);
  return replies;
}

TEST(PlacementScript, ReproducesTheWorkedExamples) {
  testing::TempDir dir;
  ASSERT_TRUE(ProjectFile::save(abcProject(), dir / "abc.brevelan").ok());
  struct Step {
    const char* line;
    json expect;             // the result, or with `field` one field of it
    const char* field = "";  // a field of a "clip" reply
  };
  const char* nothing = "Double-click a clip in the Media Bin to open it in the Source viewer, then mark In (I) and Out (O).";
  const Step steps[] = {
      {R"({"op":"insertEdit"})", {{"error", nothing}, {"alert", "Nothing to edit in"}}},
      {R"({"op":"setSourceMarks","media":"clip.mov","in":0,"out":30})", nullptr},
      {R"({"op":"setTargets","video":0,"audio":0})", nullptr},
      {R"({"op":"setPlayhead","frame":150})", 150},
      {R"({"op":"overwriteEdit"})", true},                        // X into B
      {R"({"op":"clip","clip":"C"})", 200, "start"},
      {R"({"op":"undo"})", true},
      {R"({"op":"markIn","frame":150})", 150},
      {R"({"op":"insertEdit"})", true},
      {R"({"op":"clip","clip":"C-sound"})", 230, "start"},       // the sound keeps sync
      {R"({"op":"undo"})", true},
      {R"({"op":"markIn","frame":50})", 50},
      {R"({"op":"markOut","frame":150})", 150},
      {R"({"op":"extract"})", true},
      {R"({"op":"clip","clip":"C"})", 100, "start"},
      {R"({"op":"undo"})", true},
      {R"({"op":"clearMarks"})", nullptr},
      {R"({"op":"markOut","frame":20})", 20},
      {R"({"op":"overwriteEdit"})", true},                        // back-timed, held at 0
      {R"({"op":"clip","clip":"clip.mov"})", 0, "start"},
      {R"({"op":"undo"})", true},
      {R"({"op":"clearMarks"})", nullptr},
      {R"({"op":"splitEdit","clip":"B","jCut":true})", true},
      {R"({"op":"clip","clip":"B-sound"})", 85, "start"},
      {R"({"op":"undo"})", true},
      {R"({"op":"splitEdit","clip":"B","jCut":false})", true},
      {R"({"op":"clip","clip":"A-sound"})", 115, "duration"},
      {R"({"op":"undo"})", true},
      {R"({"op":"lift","clips":["B"]})", true},
      {R"({"op":"closeGap","at":120})", true},
      {R"({"op":"clip","clip":"C-sound"})", 100, "start"},
      {R"({"op":"undo"})", true},
      {R"({"op":"undo"})", true},
      {R"({"op":"move","clips":["C"],"by":-30,"trackOffset":0})", true},
      {R"({"op":"clip","clip":"B"})", 70, "duration"},
      {R"({"op":"undo"})", true},
      {R"({"op":"set","clip":"A","path":"grade.exposure","value":1})", true},
      {R"({"op":"pasteAttributes","from":"A","to":["B"],"what":2})", true},
      {R"({"op":"clip","clip":"B"})", 1, "grade"},
      {R"({"op":"nestIn","sequence":"Sequence 1"})",
       {{"error", "A sequence can't be put inside itself."}, {"alert", "Can't nest"}}},
      {R"({"op":"nest","clips":["A","B"]})", "Nested 2"},
      {R"({"op":"nestIn","sequence":"Nested 2","at":400})", true},
      {R"({"op":"addTransition","clip":"C","kind":"Crossfade","duration":10})", true},
      {R"({"op":"addMarker","frame":40,"name":"beat"})", true},
  };
  std::string lines;
  for (const Step& step : steps) lines += std::string(step.line) + "\n";
  const auto saved = dir / "after.brevelan";
  const std::vector<json> replies = run(dir, lines, saved);
  ASSERT_EQ(replies.size(), std::size(steps));
  for (std::size_t i = 0; i < std::size(steps); ++i) {
    const json& reply = replies[i];
    const Step& step = steps[i];
    if (step.expect.is_object()) {
      EXPECT_EQ(reply["error"], step.expect["error"]) << step.line;
      EXPECT_EQ(reply["alert"], step.expect["alert"]) << step.line;
    } else if (std::string(step.field) == "grade") {
      EXPECT_EQ(reply["result"]["grade"]["exposure"], step.expect) << step.line;
    } else if (*step.field) {
      EXPECT_EQ(reply["result"][step.field], step.expect) << step.line << " → " << reply.dump();
    } else {
      EXPECT_EQ(reply["result"], step.expect) << step.line << " → " << reply.dump();
    }
  }
  EXPECT_EQ(replies[4]["status"], "Overwrite");
  EXPECT_EQ(replies[28]["status"], "Delete");

  auto project = ProjectFile::load(saved);
  ASSERT_TRUE(project.ok()) << project.error().message;
  ASSERT_EQ(project->sequences.size(), 2u);
  const BrevSequence& open = project->sequences[0];
  const BrevSequence& nested = project->sequences[1];
  for (const auto* tracks : {&open.video, &open.audio}) {
    const auto& clips = (*tracks)[0].clips;
    ASSERT_EQ(clips.size(), 3u);
    EXPECT_EQ(*clips[0].source.nestedID(), nested.id);
    EXPECT_EQ(clips[0].duration, 200);  // A and B as one clip
    EXPECT_EQ(clips[1].start, 200);     // C
    EXPECT_EQ(clips[2].start, 400);     // the nest put in again
  }
  EXPECT_EQ(open.video[0].clips[0].linkID, open.audio[0].clips[0].linkID);
  EXPECT_TRUE(open.video[0].clips[1].transitionIn);
  EXPECT_EQ(nested.video[0].clips.size(), 2u);
  EXPECT_EQ(nested.audio[0].clips.size(), 2u);
  ASSERT_EQ(open.markers.size(), 1u);
  EXPECT_EQ(open.markers[0].name, "beat");
}

}  // namespace
}  // namespace brevelan
