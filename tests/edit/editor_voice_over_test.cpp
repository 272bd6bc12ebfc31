#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "edit/editor_model.h"
#include "edit/media_probe.h"
#include "edit/voice_over_input.h"
#include "editor_fakes.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using Spans = std::vector<std::pair<std::int64_t, std::int64_t>>;

// Hands out numbered takes; the test says what the system answers.
struct FakeInput final : VoiceOverInput {
  Access access() const override { return answer; }
  void requestAccess(std::function<void(bool)> done) override {
    ++asked;
    done(granted);
  }
  Expected<void, VoiceOverFailure> start() override {
    if (failure) return Unexpected{*failure};
    on = true;
    return {};
  }
  Expected<fs::path, std::string> stop() override {
    on = false;
    return taken.emplace_back("/takes/take" + std::to_string(taken.size() + 1) + ".caf");
  }
  bool recording() const override { return on; }

  Access answer = Access::granted;
  bool granted = true, on = false;
  int asked = 0;
  std::optional<VoiceOverFailure> failure;
  std::vector<fs::path> taken;
};

// Every take is a sound file of the length the test gave it.
struct FakeProber final : MediaProber {
  Expected<MediaItem, MediaError> probe(const fs::path& file) const override {
    MediaItem item;
    item.id = Uuid::make();
    item.name = file.stem().string();
    item.kind = MediaKind::audio;
    item.path = file.string();
    item.duration = seconds.at(file.filename().string());
    item.hasAudio = true;
    return item;
  }
  std::map<std::string, double> seconds;
};

struct VoiceOverRig : testing::EditorRig {
  VoiceOverRig() : EditorRig(testing::abcProject()) { editor->setVoiceOverInput(input, prober); }

  void record(std::int64_t at, double seconds) {
    prober->seconds["take" + std::to_string(input->taken.size() + 1) + ".caf"] = seconds;
    editor->setPlayhead(at);
    ASSERT_TRUE(editor->toggleVoiceOver());
    ASSERT_TRUE(editor->state().voiceOverActive);
    EXPECT_EQ(editor->voStart(), at);
    editor->setPlayhead(at + 500);  // the sequence plays on while recording
    ASSERT_TRUE(editor->toggleVoiceOver());
    EXPECT_FALSE(editor->state().voiceOverActive);
  }
  const BrevSequence& seq() const { return *editor->activeSequence(); }
  Spans vo() const {
    Spans spans;
    for (const Track& track : seq().audio)
      if (track.name == "VO")
        for (const Clip& clip : track.clips) spans.emplace_back(clip.start, clip.end());
    return spans;
  }

  std::shared_ptr<FakeInput> input = std::make_shared<FakeInput>();
  std::shared_ptr<FakeProber> prober = std::make_shared<FakeProber>();
};

TEST(EditorVoiceOver, TakesLandOnOneVOTrackEachAsOneStep) {
  VoiceOverRig rig;
  rig.input->answer = VoiceOverInput::Access::notAsked;  // asked once, granted
  const std::size_t tracks = rig.seq().audio.size();
  rig.record(40, 2);  // 60 frames at 30 fps
  EXPECT_EQ(rig.input->asked, 1);
  EXPECT_EQ(rig.seq().audio.back().name, "VO");  // after the existing audio tracks
  EXPECT_EQ(rig.editor->project().mediaItem(*rig.seq().audio.back().clips[0].source.mediaID())->path,
            "/takes/take1.caf");
  EXPECT_EQ(rig.editor->history().undoSteps().back().name, "Overwrite");

  rig.record(300, 1);
  EXPECT_EQ(rig.seq().audio.size(), tracks + 1);
  EXPECT_EQ(rig.vo(), (Spans{{40, 100}, {300, 330}}));

  // One undo takes a take back out whole: its media item, its clip, its new track.
  ASSERT_TRUE(rig.editor->undo());
  EXPECT_EQ(rig.editor->project().media.size(), 2u);
  EXPECT_EQ(rig.vo(), (Spans{{40, 100}}));
  ASSERT_TRUE(rig.editor->undo());
  EXPECT_EQ(rig.seq().audio.size(), tracks);
}

TEST(EditorVoiceOver, ATakeOverwritesEarlierMaterialOnVO) {
  VoiceOverRig rig;
  const BrevSequence before = rig.seq();
  rig.record(0, 4);    // 0..120
  rig.record(50, 1);   // 50..80, inside the first take
  rig.record(100, 2);  // 100..160, over the first take's tail
  EXPECT_EQ(rig.vo(), (Spans{{0, 50}, {50, 80}, {80, 100}, {100, 160}}));
  EXPECT_EQ(rig.seq().audio.back().clips[2].sourceIn, 80);  // still in step with its sound
  EXPECT_EQ(rig.seq().video, before.video);
  EXPECT_EQ(rig.seq().audio[0], before.audio[0]);
}

TEST(EditorVoiceOver, RefusalsAndFailuresAlertAndAddNothing) {
  using Access = VoiceOverInput::Access;
  const std::string notAllowed = "Microphone not allowed";
  const std::string allow = "Allow Vael Brevelan in the system's privacy settings, then try again.";
  const struct {
    Access access;
    bool granted;
    std::optional<VoiceOverFailure> failure;
    std::string title, message;
  } cases[] = {
      {Access::refused, true, std::nullopt, notAllowed, allow},
      {Access::notAsked, false, std::nullopt, notAllowed, allow},
      {Access::granted, true, VoiceOverFailure{true, "busy"}, notAllowed, allow},
      {Access::granted, true, VoiceOverFailure{false, "No microphone."}, "Could not record", "No microphone."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    VoiceOverRig rig;
    rig.input->answer = c.access;
    rig.input->granted = c.granted;
    rig.input->failure = c.failure;
    const Project before = rig.editor->project();
    (void)rig.editor->toggleVoiceOver();
    EXPECT_FALSE(rig.editor->state().voiceOverActive);
    ASSERT_TRUE(rig.editor->state().alert.has_value());
    EXPECT_EQ(rig.editor->state().alert->title, c.title);
    EXPECT_EQ(rig.editor->state().alert->message, c.message);
    EXPECT_EQ(rig.editor->project(), before);
  }
}

TEST(EditorVoiceOver, ReplacingTheDocumentEndsTheTakeAndKeepsIt) {
  VoiceOverRig rig;
  ASSERT_TRUE(rig.editor->toggleVoiceOver());
  rig.editor->setPlayhead(10);  // an ordinary change does not end the take
  EXPECT_TRUE(rig.input->on);
  rig.editor->newProject();
  EXPECT_FALSE(rig.input->on);
  EXPECT_FALSE(rig.editor->state().voiceOverActive);
  EXPECT_EQ(rig.input->taken.size(), 1u);
  EXPECT_TRUE(rig.editor->project().media.empty());
}

}  // namespace
}  // namespace brevelan
