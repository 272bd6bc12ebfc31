#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "edit/editor_model.h"

namespace brevelan {
namespace {

// Answers whatever the test sets, and holds each transcription until the test finishes it.
struct FakeCaptioner final : SpeechCaptioner {
  Availability availability(const std::string& locale) override {
    locales.push_back(locale);
    if (asked && granted) return {Access::ready, {}};
    return answer;
  }
  void requestPermission(std::function<void(bool)> done) override {
    asked = true;
    done(granted);
  }
  void transcribe(const Project&, const BrevSequence& sequence, const std::string&, Progress progress,
                  Done done) override {
    heard.push_back(sequence.id);
    this->progress = std::move(progress);
    this->done = std::move(done);
  }
  void cancel() override { ++cancels; }

  Availability answer{Access::ready, {}};
  bool granted = false;
  bool asked = false;
  std::vector<std::string> locales;
  std::vector<Uuid> heard;
  Progress progress;
  Done done;
  int cancels = 0;
};

Caption caption(std::int64_t start, std::string text) { return Caption{Uuid::make(), start, start + 30, std::move(text)}; }

struct Rig {
  explicit Rig(bool withSpeech = true) {
    Project project = Project::make();
    project.mutableActiveSequence()->captions = SharedList<Caption>({caption(0, "Old line")});
    EditorServices services;
    if (withSpeech) services.speech = speech;
    editor = std::make_unique<EditorModel>(std::move(project), services);
  }
  const SharedList<Caption>& captions() const { return editor->activeSequence()->captions; }

  std::shared_ptr<FakeCaptioner> speech = std::make_shared<FakeCaptioner>();
  std::unique_ptr<EditorModel> editor;
};

TEST(Transcribe, ReplacesCaptionsInOneStep) {
  Rig rig;
  const auto before = rig.captions();
  ASSERT_TRUE(rig.editor->transcribe());
  EXPECT_EQ(rig.speech->locales, std::vector<std::string>{"en-US"});
  EXPECT_EQ(rig.editor->state().busy, std::optional<std::string>(EditorModel::kListening));
  EXPECT_FALSE(rig.editor->transcribe()) << "one transcription at a time";
  rig.speech->progress(0.4);
  EXPECT_DOUBLE_EQ(rig.editor->state().busyProgress, 0.4);

  const std::vector<Caption> lines{caption(0, "hello there"), caption(40, "general kenobi")};
  rig.speech->done(SpeechCaptioner::Lines{lines, 4});
  EXPECT_EQ(std::vector<Caption>(rig.captions().begin(), rig.captions().end()), lines);
  EXPECT_EQ(rig.editor->state().status, "Made 2 captions from 4 words");
  EXPECT_FALSE(rig.editor->state().busy);
  ASSERT_EQ(rig.editor->history().undoSteps().size(), 1u);
  EXPECT_EQ(rig.editor->history().undoSteps().back().name, "Transcribe");
  EXPECT_TRUE(rig.editor->undo());
  EXPECT_EQ(rig.captions(), before);
}

TEST(Transcribe, OneCaptionOrSilence) {
  Rig rig;
  ASSERT_TRUE(rig.editor->transcribe());
  rig.speech->done(SpeechCaptioner::Lines{{caption(0, "yes")}, 1});
  EXPECT_EQ(rig.editor->state().status, "Made 1 caption from 1 word");

  // Nothing heard: the captions there are stay.
  ASSERT_TRUE(rig.editor->transcribe());
  rig.speech->done(SpeechCaptioner::Lines{{}, 0});
  EXPECT_EQ(rig.editor->state().status, "Made 0 captions from 0 words");
  EXPECT_EQ(rig.captions()[0].text, "yes");
  EXPECT_EQ(rig.editor->history().undoSteps().size(), 1u);
}

TEST(Transcribe, EveryFailureIsOneAlertAndLeavesCaptions) {
  using Access = SpeechCaptioner::Access;
  struct Case {
    const char* what;
    bool withSpeech;
    SpeechCaptioner::Availability availability;
    bool failRecognition;
    const char* title;
    const char* message;
  };
  const Case cases[] = {
      {"no recognizer service", false, {}, false, "Speech recognition unavailable", "No speech recognizer for en-US."},
      {"unavailable", true, {Access::unavailable, "No speech recognizer for en-US."}, false,
       "Speech recognition unavailable", "No speech recognizer for en-US."},
      {"permission refused", true, {Access::needsPermission, "not asked"}, false, "Speech recognition is off",
       "Allow Vael Brevelan in the system's privacy settings."},
      {"recognition fails", true, {Access::ready, {}}, true, "Transcription failed",
       "Speech recognition took too long."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Rig rig(c.withSpeech);
    rig.speech->answer = c.availability;
    const auto before = rig.captions();
    (void)rig.editor->transcribe();
    if (c.failRecognition) {
      ASSERT_TRUE(rig.speech->done);
      rig.speech->done(Unexpected{std::string("Speech recognition took too long.")});
    } else {
      EXPECT_TRUE(rig.speech->heard.empty()) << "no sound is listened to";
    }
    ASSERT_TRUE(rig.editor->state().alert);
    EXPECT_EQ(rig.editor->state().alert->title, c.title);
    EXPECT_EQ(rig.editor->state().alert->message, c.message);
    EXPECT_EQ(rig.captions(), before);
    EXPECT_FALSE(rig.editor->history().canUndo());
    EXPECT_FALSE(rig.editor->state().busy);
  }
}

TEST(Transcribe, PermissionGrantedStartsListening) {
  Rig rig;
  rig.speech->answer = {SpeechCaptioner::Access::needsPermission, "not asked"};
  rig.speech->granted = true;
  EXPECT_TRUE(rig.editor->transcribe());
  EXPECT_EQ(rig.speech->heard.size(), 1u);
  EXPECT_TRUE(rig.editor->transcribing());
}

TEST(Transcribe, CancelledIsQuietAndChangesNothing) {
  Rig rig;
  const auto before = rig.captions();
  ASSERT_TRUE(rig.editor->transcribe());
  rig.editor->cancelTranscription();
  rig.editor->cancelTranscription();
  EXPECT_EQ(rig.speech->cancels, 1);
  rig.speech->done(Unexpected{std::string("Transcription was cancelled.")});
  EXPECT_FALSE(rig.editor->state().alert);
  EXPECT_EQ(rig.editor->state().status, "Transcription cancelled");
  EXPECT_EQ(rig.captions(), before);
  EXPECT_FALSE(rig.editor->transcribing());
}

}  // namespace
}  // namespace brevelan
