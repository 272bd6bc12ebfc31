#include "app/timeline/timeline_keys.h"

#include <QImage>
#include <QTest>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include "app/timeline/timeline_rig.h"

namespace brevelan {
namespace {

using testing::abcProject;
using testing::EditorRig;
using testing::kA1;
using testing::named;

// a 0..100, b 100..200, c 200..300 on A1 at 2 pixels a frame; A1 shows volume.
struct TimelineKeysTest : testing::TimelineRig {
  // Where the line of A1 shows `value` at a timeline frame.
  QPoint on(std::int64_t frame, double value, KeyLine line = KeyLine::volume) {
    return QPoint(static_cast<int>(view->xOf(frame)), static_cast<int>(std::lround(view->keyBand(kA1).y(line, value))));
  }
  void setAudio(const char* clip, const std::function<void(AudioFX&)>& body) {
    editor().updateClip(named(seq(), clip).id, "Setup", false, false, [&](Clip& c) { body(c.audio.mut()); });
  }
  // What one pixel of the band is worth, the most a pointer's value can be off.
  double pixel(KeyLine line = KeyLine::volume) {
    const KeyBand band = view->keyBand(kA1);
    return (line == KeyLine::pan ? 2.0 : KeyBand::kMaxDB - KeyBand::kMinDB) / (band.bottom - band.top);
  }
  const KeyTrack& volumeKeys(const char* clip) { return named(seq(), clip).audio->volumeKeys; }
};

TEST_F(TimelineKeysTest, ControlClickOnTheLineAddsAKeyWithTheValueUnderThePointer) {
  struct Case {
    const char* name;
    std::function<void(AudioFX&)> setup;
    KeyLine line;
    std::int64_t at;  // timeline frame clicked, on clip c (200..300)
    double shown;     // the line's value there
    double key;       // the key value expected
  };
  const std::vector<Case> cases = {
      {"sloped volume", [](AudioFX& a) { a.volumeKeys.keys = {{0, 0}, {100, -40}}; }, KeyLine::volume, 230, -12, -12},
      // Keys add to the gain, so the key holds what the line shows less the gain.
      {"volume under gain", [](AudioFX& a) { a.gainDB = -10; }, KeyLine::volume, 250, -10, 0},
      {"pan", [](AudioFX& a) { a.pan = 0.5; }, KeyLine::pan, 240, 0.5, 0.5},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    setAudio("c", c.setup);
    view->setKeyLine(kA1, c.line);
    const std::size_t before = steps();
    QTest::mouseClick(view.get(), Qt::LeftButton, Qt::ControlModifier, on(c.at, c.shown, c.line));
    ASSERT_EQ(steps(), before + 1);
    EXPECT_EQ(editor().history().undoSteps().back().name, c.line == KeyLine::pan ? "Pan Key" : "Volume Key");
    const KeyTrack& keys = c.line == KeyLine::pan ? named(seq(), "c").audio->panKeys : volumeKeys("c");
    const auto added =
        std::find_if(keys.keys.begin(), keys.keys.end(), [&](const Keyframe& k) { return k.frame == c.at - 200; });
    ASSERT_NE(added, keys.keys.end());
    EXPECT_NEAR(added->value, c.key, pixel(c.line));
    editor().undo();
    editor().undo();
  }

  // Off the line, or without Ctrl, the press is an ordinary one.
  view->setKeyLine(kA1, KeyLine::volume);
  const Project before = editor().project();
  QTest::mouseClick(view.get(), Qt::LeftButton, {}, on(250, 0));
  QTest::mouseClick(view.get(), Qt::LeftButton, Qt::ControlModifier, on(250, -40));
  EXPECT_EQ(editor().project(), before);
  EXPECT_TRUE(editor().state().selection.contains(named(seq(), "c").id));
}

TEST_F(TimelineKeysTest, DraggingAKeyMovesItAsOneUndoStepKeptBetweenItsNeighbours) {
  struct Case {
    const char* name;
    std::vector<Keyframe> keys;  // on clip c
    QPoint by;                   // pointer travel
    Keyframe moved;              // the first key after the drag
  };
  const std::vector<Case> cases = {
      {"right", {{50, 0}}, {20, 0}, {60, 0}},
      {"stops before the next key", {{50, 0}, {55, -20}}, {40, 0}, {54, 0}},
      {"stops at the clip's end", {{50, 0}}, {400, 0}, {100, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    setAudio("c", [&](AudioFX& a) { a.volumeKeys.keys = c.keys; });
    const Project before = editor().project();
    const std::size_t count = steps();
    drag(on(250, 0), on(250, 0) + c.by);
    ASSERT_EQ(steps(), count + 1);
    EXPECT_EQ(editor().history().undoSteps().back().name, "Volume Key");
    ASSERT_EQ(volumeKeys("c").keys.size(), c.keys.size());
    EXPECT_EQ(volumeKeys("c").keys[0], c.moved) << "sideways keeps the exact value";
    editor().undo();
    EXPECT_EQ(editor().project(), before);
  }

  // Up and down sets the value under the pointer.
  drag(on(250, 0), on(250, -30));
  ASSERT_EQ(volumeKeys("c").keys.size(), 1u);
  EXPECT_EQ(volumeKeys("c").keys[0].frame, 50);
  EXPECT_NEAR(volumeKeys("c").keys[0].value, -30, pixel());
}

TEST_F(TimelineKeysTest, EscapeDuringAKeyDragRestoresTheProject) {
  setAudio("c", [](AudioFX& a) { a.volumeKeys.keys = {{50, 0}}; });
  const Project before = editor().project();
  const std::size_t count = steps();
  const QPoint from = on(250, 0);
  QTest::mousePress(view.get(), Qt::LeftButton, {}, from);
  QTest::mouseMove(view.get(), from + QPoint(10, 8));
  QTest::mouseMove(view.get(), from + QPoint(20, 16));
  ASSERT_NE(editor().project(), before);
  QTest::keyClick(view.get(), Qt::Key_Escape);
  EXPECT_EQ(editor().project(), before);
  QTest::mouseMove(view.get(), from + QPoint(30, 16));
  QTest::mouseRelease(view.get(), Qt::LeftButton, {}, from + QPoint(30, 16));
  EXPECT_EQ(editor().project(), before);
  EXPECT_EQ(steps(), count);
  EXPECT_FALSE(editor().dragging());
}

TEST_F(TimelineKeysTest, DoubleClickOnADotRemovesTheKey) {
  setAudio("c", [](AudioFX& a) { a.volumeKeys.keys = {{20, -6}, {60, -6}}; });
  const std::size_t count = steps();
  QTest::mouseDClick(view.get(), Qt::LeftButton, {}, on(260, -6));
  EXPECT_EQ(volumeKeys("c").keys, (std::vector<Keyframe>{{20, -6}}));
  ASSERT_EQ(steps(), count + 1);
  EXPECT_EQ(editor().history().undoSteps().back().name, "Delete Key");

  // Between dots a double-click changes nothing.
  QTest::mouseDClick(view.get(), Qt::LeftButton, {}, on(240, -6));
  EXPECT_EQ(volumeKeys("c").keys.size(), 1u);
  EXPECT_EQ(steps(), count + 1);
}

TEST_F(TimelineKeysTest, TheLineIsDrawnAtTheKeyedLevelUntilTheSwitchTurnsItOff) {
  setAudio("a", [](AudioFX& a) { a.volumeKeys.keys = {{0, 0}, {100, -48}}; });
  // The first pixel in the line's colour down the column halfway through a, or -1.
  const auto lineY = [&]() -> int {
    const QImage image = view->grab().toImage();
    const QColor want = keyLineColor(KeyLine::volume);
    const int x = static_cast<int>(view->xOf(50)) + 1;
    const KeyBand band = view->keyBand(kA1);
    for (int y = static_cast<int>(band.top) - 2; y <= static_cast<int>(band.bottom) + 2; ++y) {
      const QColor got = image.pixelColor(x, y);
      if (std::abs(got.red() - want.red()) + std::abs(got.green() - want.green()) < 30 && got.blue() > 150) return y;
    }
    return -1;
  };
  EXPECT_NEAR(lineY(), view->keyBand(kA1).y(KeyLine::volume, -24.24), 1.5);

  const QPoint toggle = view->switchRect(kA1, TimelineView::HeaderSwitch::keys).center().toPoint();
  QTest::mouseClick(view.get(), Qt::LeftButton, {}, toggle);
  EXPECT_EQ(view->keyLine(kA1), KeyLine::pan);
  QTest::mouseClick(view.get(), Qt::LeftButton, {}, toggle);
  EXPECT_EQ(view->keyLine(kA1), KeyLine::off);
  EXPECT_EQ(lineY(), -1);
}

}  // namespace
}  // namespace brevelan
