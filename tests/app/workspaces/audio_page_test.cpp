// The AUDIO workspace over the demo project in a real editor: mixer strips
// and the clip's sound controls worked with real mouse and key events, checked
// against the document and its undo steps.
#include "app/workspaces/audio_page.h"

#include <gtest/gtest.h>

#include <QTest>

#include <deque>
#include <sstream>

#include "app/media_commands.h"
#include "app/playback/playback_engine.h"
#include "app/workspaces/audio_clip_sound.h"
#include "app/workspaces/audio_eq_response.h"
#include "app/workspaces/audio_strip.h"
#include "edit/editor_model.h"
#include "support/demo_folder.h"
#include "support/app_folders_suite.h"
#include "support/widget_app.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

// Timers run when the test says so.
class QueuedScheduler final : public Scheduler {
 public:
  void schedule(double, std::function<void()> work) override { work_.push_back(std::move(work)); }
  void runAll() {
    while (!work_.empty()) {
      auto work = std::move(work_.front());
      work_.pop_front();
      work();
    }
  }

 private:
  std::deque<std::function<void()>> work_;
};

// A build at once, with nothing in it: the page only needs one to exist.
class InstantBuilder final : public ProgramBuilder {
 public:
  void build(BuildRequest, Done done) override { done(std::make_shared<ProgramBuild>()); }
};

class AudioWorkspace : public testing::AppFoldersSuite {
 protected:
  void SetUp() override {
    testing::widgetApp();
    scheduler_ = std::make_shared<QueuedScheduler>();
    EditorServices services;
    services.scheduler = scheduler_;
    services.builder = std::make_shared<InstantBuilder>();
    services.findBeats = [](const Project&, const BrevSequence&, const Uuid&) { return std::vector<double>{0.5, 1.0}; };
    editor_ = std::make_unique<EditorModel>(Project::make(), std::move(services));
    ASSERT_TRUE(editor_->open(testing::demoFolder() / "Sample.brevelan"));
    scheduler_->runAll();
    program_ = std::make_unique<PlaybackEngine>();
    page_ = std::make_unique<AudioPage>(*editor_, *program_);
    page_->resize(1600, 1000);
    page_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(page_.get()));
    ASSERT_GE(page_->strips().size(), 2u);
  }

  const Track& track(std::size_t index) const { return editor_->activeSequence()->audio[index]; }
  std::size_t steps() const { return editor_->history().undoSteps().size(); }
  std::string lastStep() const { return editor_->history().undoSteps().back().name; }
  const Clip& firstClipOf(std::size_t index) const { return track(index).clips[0]; }

  std::shared_ptr<QueuedScheduler> scheduler_;
  std::unique_ptr<EditorModel> editor_;
  std::unique_ptr<PlaybackEngine> program_;
  std::unique_ptr<AudioPage> page_;
};


TEST_F(AudioWorkspace, FaderDragIsOneUndoStepOnTheTrackLevel) {
  kit::Fader* fader = page_->strips()[0]->fader();
  const double before = track(0).volumeDB;
  const std::size_t stepsBefore = steps();
  const QPoint grip(19, fader->height() / 2);
  QTest::mousePress(fader, Qt::LeftButton, {}, grip);
  for (int dy = 6; dy <= 30; dy += 6) QTest::mouseMove(fader, grip + QPoint(0, dy));
  QTest::mouseRelease(fader, Qt::LeftButton, {}, grip + QPoint(0, 30));

  EXPECT_LT(track(0).volumeDB, before - 1);
  EXPECT_EQ(track(0).volumeDB, fader->value());
  EXPECT_EQ(steps(), stepsBefore + 1);
  EXPECT_EQ(lastStep(), "Volume");
  EXPECT_EQ(page_->strips()[0]->readout()->text(), fader->valueText());
  ASSERT_TRUE(editor_->undo());
  EXPECT_EQ(track(0).volumeDB, before);
  EXPECT_EQ(fader->value(), before) << "the strip follows the undo";
}

TEST_F(AudioWorkspace, TypedFaderValueIsClampedToTheTop) {
  kit::Fader* fader = page_->strips()[1]->fader();
  fader->setFocus();
  QTest::keyClick(fader, Qt::Key_Return);
  auto* field = fader->findChild<QWidget*>();
  ASSERT_NE(field, nullptr);
  QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
  QTest::keyClicks(field, "+40");
  QTest::keyClick(field, Qt::Key_Return);
  EXPECT_EQ(track(1).volumeDB, 12);
  EXPECT_EQ(fader->valueText(), "+12.0 dB");
}

TEST_F(AudioWorkspace, SilentFaderSavesAFiniteLevel) {
  kit::Fader* fader = page_->strips()[0]->fader();
  fader->setFocus();
  ASSERT_TRUE(fader->applyText("-inf"));
  EXPECT_EQ(track(0).volumeDB, AudioStrip::kSilentDB);
  EXPECT_EQ(fader->valueText(), QString::fromUtf8("\u2212inf"));
}

TEST_F(AudioWorkspace, SwitchesAndPanChangeOnlyTheSound) {
  const std::uint64_t generation = editor_->buildGeneration();
  AudioStrip* strip = page_->strips()[1];
  QTest::mouseClick(strip->mute(), Qt::LeftButton);
  EXPECT_TRUE(track(1).muted);
  EXPECT_EQ(lastStep(), "Mute");
  QTest::mouseClick(strip->solo(), Qt::LeftButton);
  EXPECT_TRUE(track(1).solo);
  EXPECT_EQ(lastStep(), "Solo");
  strip->pan()->setFocus();
  QTest::keyClick(strip->pan(), Qt::Key_PageDown);
  EXPECT_NEAR(track(1).pan, -0.1, 1e-9);
  EXPECT_EQ(lastStep(), "Pan");
  EXPECT_EQ(editor_->buildGeneration(), generation);

  ASSERT_TRUE(editor_->undo());
  ASSERT_TRUE(editor_->undo());
  EXPECT_FALSE(track(1).solo);
  EXPECT_FALSE(strip->solo()->isChecked());
  EXPECT_TRUE(strip->mute()->isChecked());
}

TEST_F(AudioWorkspace, MasterFaderSetsTheSequenceMaster) {
  page_->master()->fader()->setFocus();
  QTest::keyClick(page_->master()->fader(), Qt::Key_PageDown);
  EXPECT_EQ(editor_->activeSequence()->masterDB, -6);
  EXPECT_EQ(lastStep(), "Master Volume");
}

TEST_F(AudioWorkspace, MetersFollowTheEditor) {
  editor_->setMeters({{track(0).id, StereoLevel{0.5f, 0.25f}}});
  editor_->setMasterMeter(StereoLevel{1.0f, 1.0f});
  EXPECT_NEAR(page_->strips()[0]->meter()->levelDB(0), -6.02, 0.01);
  EXPECT_NEAR(page_->strips()[0]->meter()->levelDB(1), -12.04, 0.01);
  EXPECT_TRUE(std::isinf(page_->strips()[1]->meter()->levelDB(0))) << "a track without a level is silent";
  EXPECT_NEAR(page_->master()->meter()->levelDB(0), 0, 1e-6);
}

TEST_F(AudioWorkspace, ClipSoundShowsTheSelectedSoundClip) {
  AudioClipSound* sound = page_->clipSound();
  EXPECT_FALSE(sound->shownClip());
  EXPECT_FALSE(sound->markBeats()->isEnabled());
  const Clip& clip = firstClipOf(0);
  editor_->setSelection({clip.id});
  ASSERT_TRUE(sound->shownClip());
  EXPECT_EQ(sound->gain()->value(), clip.audio->gainDB);
  EXPECT_EQ(sound->fadeIn()->maximum(), static_cast<double>(clip.duration));
}

TEST_F(AudioWorkspace, EqBandKnobChangesThatBand) {
  const Uuid id = firstClipOf(0).id;
  editor_->setSelection({id});
  AudioClipSound* sound = page_->clipSound();
  kit::Knob* band = sound->band(5);
  EXPECT_EQ(band->label(), "1k");
  band->setFocus();
  QTest::keyClick(band, Qt::Key_PageUp);
  QTest::keyClick(band, Qt::Key_PageUp);
  const AudioFX& fx = *firstClipOf(0).audio;
  ASSERT_EQ(fx.eq.size(), 10u);
  for (std::size_t i = 0; i < fx.eq.size(); ++i) EXPECT_EQ(fx.eq[i], i == 5 ? 6.0 : 0.0) << "band " << i;
  EXPECT_EQ(lastStep(), "EQ 1k");

  // The drawn response peaks at the band.
  const auto& curve = sound->response()->curve();
  const auto peak = std::max_element(curve.begin(), curve.end(), [](auto a, auto b) { return a.y() < b.y(); });
  EXPECT_NEAR(peak->y(), 6, 0.3);
  EXPECT_NEAR(peak->x(), 1000, 150);

  QTest::mouseClick(sound->eqOn(), Qt::LeftButton);
  EXPECT_TRUE(firstClipOf(0).audio->eqOn);
  EXPECT_EQ(lastStep(), "EQ");
}

TEST_F(AudioWorkspace, ClipKnobDragIsOneStepNamedAfterIt) {
  editor_->setSelection({firstClipOf(0).id});
  kit::Knob* gain = page_->clipSound()->gain();
  const double before = firstClipOf(0).audio->gainDB;
  const std::size_t stepsBefore = steps();
  const QPoint centre(gain->width() / 2, gain->height() / 2);
  QTest::mousePress(gain, Qt::LeftButton, {}, centre);
  for (int dy = 5; dy <= 25; dy += 5) QTest::mouseMove(gain, centre - QPoint(0, dy));
  QTest::mouseRelease(gain, Qt::LeftButton, {}, centre - QPoint(0, 25));
  EXPECT_GT(firstClipOf(0).audio->gainDB, before);
  EXPECT_EQ(steps(), stepsBefore + 1);
  EXPECT_EQ(lastStep(), "Gain");
}

TEST_F(AudioWorkspace, MarkBeatsMarksTheSelectedClip) {
  const std::size_t markers = editor_->activeSequence()->markers.size();
  editor_->setSelection({firstClipOf(0).id});
  QTest::mouseClick(page_->clipSound()->markBeats(), Qt::LeftButton);
  EXPECT_EQ(editor_->activeSequence()->markers.size(), markers + 2);
  EXPECT_EQ(lastStep(), "Mark Beats");
}

TEST(AudioEqResponse, MatchesTheBands) {
  struct Case {
    std::vector<double> gains;
    double frequency;
    double expected;
  };
  const Case cases[] = {{std::vector<double>(10, 0.0), 1000, 0},
                        {{0, 0, 0, 0, 0, 12, 0, 0, 0, 0}, 1000, 12},
                        {{0, 0, 0, 0, 0, 40, 0, 0, 0, 0}, 1000, 12},  // clamped as the mixer clamps
                        {{-6}, 31, -6},
                        {{0.005, 0, 0, 0, 0, 0, 0, 0, 0, 0.01}, 16000, 0}};
  for (const Case& c : cases) EXPECT_NEAR(eqResponseAt(c.gains, c.frequency), c.expected, 0.35) << c.frequency;
  EXPECT_EQ(eqResponse(std::vector<double>(10, 0.0), 50).size(), 50u);
}

}  // namespace
}  // namespace brevelan
