#include "app/playback/playback_engine.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "app/media_commands.h"
#include "app/playback/source_preview.h"
#include "media/demo_media.h"
#include "media/media_probe.h"
#include "picture/composition_builder.h"
#include "picture/frame_renderer.h"
#include "model/project_file.h"
#include "support/demo_folder.h"
#include "support/temp_dir.h"
#include "support/widget_app.h"

namespace brevelan {
namespace {

using testing::TempDir;
using testing::waitUntil;

void runFor(int ms) {
  waitUntil([] { return false; }, ms);
}

// The sample project with its demo media, built once for every test.
struct Sample {
  TempDir dir;
  Project project;
  BrevSequence main;
  std::shared_ptr<const CompositionBuild> build;

  Sample() {
    ::setenv("XDG_DATA_HOME", (dir.path() / "xdg").c_str(), 1);
    auto made = ProjectFile::load(testing::demoFolder() / "Sample.brevelan");
    if (!made) throw std::runtime_error(made.error().message);
    project = std::move(made).value();
    main = project.sequences[0];
    build = rebuild(main);
  }

  std::shared_ptr<const CompositionBuild> rebuild(const BrevSequence& seq) const {
    BuildOptions options;
    options.withStems = true;
    return buildComposition(project, seq, options);
  }
};

struct Shown {
  std::int64_t frame;
  QImage picture;
};

class PlaybackEngineTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    testing::widgetApp();
    sample_ = new Sample();
  }
  static void TearDownTestSuite() {
    delete sample_;
    sample_ = nullptr;
  }

  void SetUp() override {
    engine_ = std::make_unique<PlaybackEngine>();
    QObject::connect(engine_.get(), &PlaybackEngine::frameShown,
                     [this](QImage picture, qint64 frame) { shown_.push_back({frame, std::move(picture)}); });
    QObject::connect(engine_.get(), &PlaybackEngine::positionChanged,
                     [this](qint64 frame) { positions_.push_back(frame); });
    QObject::connect(engine_.get(), &PlaybackEngine::reachedEnd, [this] { ++ends_; });
    QObject::connect(engine_.get(), &PlaybackEngine::soundUnavailable,
                     [this](QString message) { messages_.push_back(message); });
  }

  // What the editor does when a build lands.
  void install(std::shared_ptr<const CompositionBuild> build, const BrevSequence& seq, std::int64_t playhead) {
    const float rate = engine_->rate();
    engine_->replaceItem(std::move(build), seq);
    engine_->seek(playhead, seq.rate);
    if (rate != 0) engine_->setRate(rate);
  }

  bool waitForFrame(std::int64_t frame) {
    return waitUntil([&] { return !shown_.empty() && shown_.back().frame == frame; });
  }

  static Sample* sample_;
  std::unique_ptr<PlaybackEngine> engine_;
  std::vector<Shown> shown_;
  std::vector<std::int64_t> positions_;
  int ends_ = 0;
  std::vector<QString> messages_;
};

Sample* PlaybackEngineTest::sample_ = nullptr;

::testing::AssertionResult samePicture(const QImage& image, const Picture& expected) {
  if (image.isNull()) return ::testing::AssertionFailure() << "no picture";
  if (image.width() != expected.width || image.height() != expected.height)
    return ::testing::AssertionFailure() << "size " << image.width() << "x" << image.height();
  const QImage rgba = image.convertToFormat(expected.order == PixelOrder::rgba ? QImage::Format_RGBA8888_Premultiplied
                                                                               : QImage::Format_ARGB32_Premultiplied);
  for (int y = 0; y < expected.height; ++y)
    if (std::memcmp(rgba.constScanLine(y), expected.row(y), expected.stride()) != 0)
      return ::testing::AssertionFailure() << "row " << y << " differs";
  return ::testing::AssertionSuccess();
}

TEST_F(PlaybackEngineTest, SeekShowsTheFrameTheRendererDraws) {
  install(sample_->build, sample_->main, 0);
  ASSERT_TRUE(waitForFrame(0));
  EXPECT_EQ(engine_->duration(), sample_->build->duration);
  SourceFrames sources;
  // Bars, the crossfade into the 4K movie, the phone movie, the push onto the
  // still, the graded matte under the title, the nested sequence, the credits.
  for (const std::int64_t frame : {15, 127, 200, 275, 345, 460, 600}) {
    SCOPED_TRACE(frame);
    engine_->seek(frame, sample_->main.rate);
    ASSERT_TRUE(waitForFrame(frame));
    EXPECT_EQ(engine_->position(), frame);
    EXPECT_EQ(positions_.back(), frame);
    EXPECT_TRUE(samePicture(shown_.back().picture, FrameRenderer::output(*sample_->build, frame, sources)));
  }
}

TEST_F(PlaybackEngineTest, PlayingShowsLaterFramesInOrder) {
  install(sample_->build, sample_->main, 10);
  ASSERT_TRUE(waitForFrame(10));
  shown_.clear();
  positions_.clear();
  engine_->setRate(1);
  EXPECT_EQ(engine_->rate(), 1);
  ASSERT_TRUE(waitUntil([&] { return shown_.size() >= 5; }));
  runFor(300);
  EXPECT_GE(engine_->framesShown(), 5);
  engine_->setRate(0);
  const std::int64_t stopped = engine_->position();
  EXPECT_GT(stopped, 10);
  for (std::size_t i = 1; i < shown_.size(); ++i) EXPECT_LT(shown_[i - 1].frame, shown_[i].frame);
  for (std::size_t i = 1; i < positions_.size(); ++i) EXPECT_LE(positions_[i - 1], positions_[i]);
  EXPECT_GT(shown_.front().frame, 10);  // the picture already up is not shown again
  // Paused, the picture of the stopping place is what stays up.
  ASSERT_TRUE(waitForFrame(stopped));
  runFor(100);
  EXPECT_EQ(engine_->position(), stopped);
  EXPECT_EQ(shown_.back().frame, stopped);
}

TEST_F(PlaybackEngineTest, ANewBuildWhilePlayingGoesOnFromThePosition) {
  install(sample_->build, sample_->main, 30);
  engine_->setRate(1);
  ASSERT_TRUE(waitUntil([&] { return engine_->position() >= 40; }));

  // An edit: the colour bars lose their colour.
  BrevSequence edited = sample_->main;
  edited.video.mut(0).clips.mut(0).grade.mut().saturation = 0;
  const auto build = sample_->rebuild(edited);
  const std::int64_t at = engine_->position();
  shown_.clear();
  install(build, edited, at);
  EXPECT_EQ(engine_->rate(), 1);
  EXPECT_GE(engine_->position(), at);
  ASSERT_TRUE(waitUntil([&] { return shown_.size() >= 3; }));
  for (const Shown& picture : shown_) EXPECT_GE(picture.frame, at);
  EXPECT_GT(engine_->position(), at);

  // The editor's playhead following the engine seeks where it already is: no jump back.
  const std::int64_t now = engine_->position();
  engine_->seek(now, edited.rate);
  runFor(100);
  EXPECT_GE(engine_->position(), now);
  engine_->setRate(0);

  SourceFrames sources;
  const std::int64_t last = engine_->position();
  ASSERT_TRUE(waitForFrame(last));
  EXPECT_TRUE(samePicture(shown_.back().picture, FrameRenderer::output(*build, last, sources)));
}

TEST_F(PlaybackEngineTest, ASoundChangeKeepsThePicture) {
  install(sample_->build, sample_->main, 45);
  ASSERT_TRUE(waitForFrame(45));
  runFor(100);
  const std::int64_t drawn = engine_->framesDrawn();
  const std::size_t pictures = shown_.size();

  BrevSequence mixed = sample_->main;
  mixed.audio.mut(0).muted = true;
  mixed.audio.mut(1).pan = 0.5;
  engine_->updateAudioMix(*sample_->build, mixed);
  const std::vector<StemGain> gains = engine_->soundGains();
  ASSERT_EQ(gains.size(), 2u);
  EXPECT_EQ(gains[0], (StemGain{0, 0}));
  EXPECT_EQ(gains[1], (StemGain{0.5f, 1.0f}));

  runFor(200);
  EXPECT_EQ(engine_->framesDrawn(), drawn);
  EXPECT_EQ(shown_.size(), pictures);
  EXPECT_EQ(engine_->position(), 45);
}

TEST_F(PlaybackEngineTest, PlayingToEitherEndPausesThere) {
  struct Case {
    const char* name;
    std::int64_t from;
    float rate;
    std::int64_t end;
  };
  const std::int64_t last = sample_->build->duration - 1;
  for (const Case& c : {Case{"forward", last - 8, 1, last}, Case{"backward", 8, -1, 0},
                        Case{"shuttle", last - 40, 4, last}}) {
    SCOPED_TRACE(c.name);
    install(sample_->build, sample_->main, c.from);
    ASSERT_TRUE(waitForFrame(c.from));
    shown_.clear();
    ends_ = 0;
    engine_->setRate(c.rate);
    ASSERT_TRUE(waitUntil([&] { return ends_ > 0; }));
    EXPECT_EQ(ends_, 1);
    EXPECT_EQ(engine_->rate(), 0);
    EXPECT_EQ(engine_->position(), c.end);
    ASSERT_TRUE(waitForFrame(c.end));
    // Shuttling shows every fourth frame from where it started.
    if (c.rate == 4) {
      for (std::size_t i = 0; i + 1 < shown_.size(); ++i) EXPECT_EQ((shown_[i].frame - c.from) % 4, 0);
    }
    runFor(50);
    EXPECT_EQ(ends_, 1);
  }
}

TEST_F(PlaybackEngineTest, WithoutASoundDevicePlaysSilentlyAndSaysSoOnce) {
  if (engine_->soundAvailable()) GTEST_SKIP() << "a sound device is present";
  install(sample_->build, sample_->main, 0);
  engine_->setRate(1);
  ASSERT_TRUE(waitUntil([&] { return engine_->position() > 3; }));
  engine_->setRate(0);
  engine_->setRate(1);
  runFor(50);
  engine_->setRate(0);
  ASSERT_EQ(messages_.size(), 1u);
  EXPECT_EQ(messages_[0], QStringLiteral("No sound device — playing without sound."));
}

TEST_F(PlaybackEngineTest, NoBuildShowsNothing) {
  install(sample_->build, sample_->main, 5);
  ASSERT_TRUE(waitForFrame(5));
  install(nullptr, sample_->main, 5);
  ASSERT_FALSE(shown_.empty());
  EXPECT_TRUE(shown_.back().picture.isNull());
  EXPECT_EQ(engine_->duration(), 0);
}

TEST_F(PlaybackEngineTest, TheSourceViewerPlaysOneItem) {
  const MediaItem* bars = nullptr;
  for (const MediaItem& item : sample_->project.media)
    if (item.path.ends_with("colour-bars.mov")) bars = &item;
  ASSERT_NE(bars, nullptr);
  const BrevSequence seq = sourcePreview(*bars);
  install(sample_->rebuild(seq), seq, 37);
  ASSERT_TRUE(waitForFrame(37));
  const QImage image = shown_.back().picture.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
  Picture picture(image.width(), image.height(), PixelOrder::rgba);
  for (int y = 0; y < image.height(); ++y) std::memcpy(picture.row(y), image.constScanLine(y), picture.stride());
  EXPECT_EQ(readFrameNumber(picture), 37);
  EXPECT_EQ(engine_->duration(), 120);
}

}  // namespace
}  // namespace brevelan
