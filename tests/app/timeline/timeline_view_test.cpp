#include "app/timeline/timeline_view.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>

#include "app/timeline/media_drag.h"
#include "app/timeline/timeline_rig.h"

namespace brevelan {
namespace {

using testing::abcProject;
using testing::EditorRig;
using testing::kA1;
using testing::kV1;
using testing::named;

constexpr TrackRef kV2{TrackKind::video, 1};

// A, B, C on V1 with their sound a, b, c on A1 (see abc()), at 2 pixels a frame.
struct TimelineTest : testing::TimelineRig {
  QPoint at(TrackRef track, std::int64_t frame, int dx = 0) {
    return QPoint(static_cast<int>(view->xOf(frame)) + dx, view->laneRect(track).center().y());
  }
};

TEST_F(TimelineTest, SelectDragMovesAClipInTimeAndBetweenTracksAsOneUndoStep) {
  // C's body grabbed at frame 250, dragged 20 frames right, then up onto V2.
  drag(at(kV1, 250), at(kV1, 270));
  EXPECT_EQ(named(seq(), "C").start, 220);
  EXPECT_EQ(named(seq(), "c").start, 220) << "its sound moves with it";
  ASSERT_EQ(steps(), 1u);
  EXPECT_EQ(editor().history().undoSteps().back().name, "Move");

  drag(at(kV1, 250), at(kV2, 250));
  EXPECT_EQ(trackAt(seq(), kV2).clips.size(), 1u);
  EXPECT_EQ(trackAt(seq(), kV2).clips[0].name, "C");
  EXPECT_EQ(trackAt(seq(), kA1).clips.size(), 3u) << "the sound keeps its track";
  EXPECT_EQ(steps(), 2u);

  editor().undo();
  editor().undo();
  EXPECT_EQ(named(seq(), "C").start, 200);
  EXPECT_EQ(trackAt(seq(), kV2).clips.size(), 0u);
}

TEST_F(TimelineTest, EscapeDuringADragRestoresTheProjectAndRecordsNothing) {
  const Project before = editor().project();
  const QPoint from = at(kV1, 250);
  QTest::mousePress(view.get(), Qt::LeftButton, {}, from);
  QTest::mouseMove(view.get(), from + QPoint(30, 0));
  QTest::mouseMove(view.get(), from + QPoint(60, 0));
  ASSERT_NE(named(seq(), "C").start, 200);
  QTest::keyClick(view.get(), Qt::Key_Escape);
  EXPECT_EQ(editor().project(), before);
  QTest::mouseMove(view.get(), from + QPoint(90, 0));
  QTest::mouseRelease(view.get(), Qt::LeftButton, {}, from + QPoint(90, 0));
  EXPECT_EQ(editor().project(), before);
  EXPECT_EQ(steps(), 0u);
  EXPECT_FALSE(editor().dragging());
  EXPECT_FALSE(editor().state().dragPreview);
}

TEST_F(TimelineTest, RippleDragOfAnEdgeSnapsToANearbyCut) {
  // A cut on V2 at 250; C's tail (300) dragged to 253 lands on it, within 9 points.
  editor().editSeq("Setup", false, true, [](BrevSequence& s) {
    s.video.mut(1).clips = {testing::movieClip("X", 0, 250), testing::movieClip("Y", 250, 100)};
  });
  for (const bool snapping : {true, false}) {
    SCOPED_TRACE(snapping);
    editor().setSnapping(snapping);
    editor().setTool(Tool::ripple);
    drag(at(kV1, 300, -2), at(kV1, 253, -2));
    EXPECT_EQ(named(seq(), "C").duration, snapping ? 50 : 53);
    EXPECT_EQ(named(seq(), "c").duration, snapping ? 50 : 53);
    EXPECT_EQ(editor().history().undoSteps().back().name, "Ripple");
    editor().undo();
  }
}

TEST_F(TimelineTest, BladeClickCutsTheClipAndWithAltOnlyThatSide) {
  struct Case {
    Qt::KeyboardModifiers mods;
    std::size_t soundClips;
  };
  for (const Case c : {Case{{}, 4}, Case{Qt::AltModifier, 3}}) {
    editor().setTool(Tool::blade);
    QTest::mouseClick(view.get(), Qt::LeftButton, c.mods, at(kV1, 150, 1));
    ASSERT_EQ(trackAt(seq(), kV1).clips.size(), 4u);
    EXPECT_EQ(trackAt(seq(), kV1).clips[2].start, 150);
    EXPECT_EQ(trackAt(seq(), kA1).clips.size(), c.soundClips);
    EXPECT_EQ(editor().history().undoSteps().back().name, "Blade");
    editor().undo();
  }
}

TEST_F(TimelineTest, EdgeDragTrimsBothSidesOfALinkedPairOrWithAltOnlyOne) {
  struct Case {
    Tool tool;
    Qt::KeyboardModifiers mods;
    std::int64_t soundLength;
    const char* name;
  };
  for (const Case c : {Case{Tool::select, {}, 90, "Trim"}, Case{Tool::select, Qt::AltModifier, 100, "Trim"},
                       Case{Tool::trim, Qt::AltModifier, 100, "Trim"}}) {
    SCOPED_TRACE(c.mods.toInt());
    editor().setTool(c.tool);
    drag(at(kV1, 300, -1), at(kV1, 290, -1), c.mods);
    EXPECT_EQ(named(seq(), "C").duration, 90);
    EXPECT_EQ(named(seq(), "c").duration, c.soundLength);
    EXPECT_EQ(editor().history().undoSteps().back().name, c.name);
    editor().undo();
  }
}

TEST_F(TimelineTest, RollSlideAndSlipDragsChangeTheNeighboursTheirToolsName) {
  // A 0..100, B 100..200 (source 50), C 200..300.
  struct Case {
    Tool tool;
    QPoint from;
    int frames;  // pointer travel
    std::int64_t aLength, bStart, bLength, bSource, cStart;
    const char* name;
  };
  const Case cases[] = {
      {Tool::roll, at(kV1, 100, 2), 10, 110, 110, 90, 60, 200, "Roll"},
      {Tool::slide, at(kV1, 150), 15, 115, 115, 100, 50, 215, "Slide"},
      // The picture follows the pointer: dragging left shows later source.
      {Tool::slip, at(kV1, 150), -7, 100, 100, 100, 57, 200, "Slip"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    editor().setTool(c.tool);
    drag(c.from, c.from + QPoint(c.frames * 2, 0));
    EXPECT_EQ(named(seq(), "A").duration, c.aLength);
    EXPECT_EQ(named(seq(), "B").start, c.bStart);
    EXPECT_EQ(named(seq(), "B").duration, c.bLength);
    EXPECT_EQ(named(seq(), "B").sourceIn, c.bSource);
    EXPECT_EQ(named(seq(), "b").sourceIn, c.bSource) << "linked sound follows";
    EXPECT_EQ(named(seq(), "C").start, c.cStart);
    EXPECT_EQ(editor().history().undoSteps().back().name, c.name);
    editor().undo();
  }
}

TEST_F(TimelineTest, DroppedMediaLandOnTheTrackAtTheFrameWithTheirSoundLinked) {
  editor().setSnapping(false);
  const Uuid movie = editor().project().media[0].id;
  const std::unique_ptr<QMimeData> data = mediaDragData({movie});
  const QPoint where = at(kV1, 400);
  QDragEnterEvent enter(where, Qt::CopyAction, data.get(), Qt::LeftButton, {});
  QApplication::sendEvent(view.get(), &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop(QPointF(where), Qt::CopyAction, data.get(), Qt::LeftButton, {});
  QApplication::sendEvent(view.get(), &drop);

  ASSERT_EQ(trackAt(seq(), kV1).clips.size(), 4u);
  ASSERT_EQ(trackAt(seq(), kA1).clips.size(), 4u);
  const Clip& picture = trackAt(seq(), kV1).clips[3];
  const Clip& sound = trackAt(seq(), kA1).clips[3];
  EXPECT_EQ(picture.start, 400);
  EXPECT_EQ(picture.duration, 300);
  EXPECT_EQ(sound.start, 400);
  ASSERT_TRUE(picture.linkID.has_value());
  EXPECT_EQ(picture.linkID, sound.linkID);
  EXPECT_EQ(editor().history().undoSteps().back().name, "Overwrite");
}

TEST_F(TimelineTest, HeaderMuteChangesOnlyTheSoundAndLockStopsEdits) {
  // With a picture built, muting refreshes the mix and builds nothing.
  editor().scheduleRebuild(0);
  rig.settle();
  const std::uint64_t generation = editor().buildGeneration();
  QTest::mouseClick(view.get(), Qt::LeftButton, {},
                    view->switchRect(kA1, TimelineView::HeaderSwitch::mute).center().toPoint());
  EXPECT_TRUE(trackAt(seq(), kA1).muted);
  EXPECT_EQ(editor().buildGeneration(), generation);
  EXPECT_EQ(rig.player->mixUpdates, 1);
  EXPECT_EQ(editor().history().undoSteps().back().name, "Mute");
  EXPECT_TRUE(view->switchRect(kV1, TimelineView::HeaderSwitch::mute).isEmpty()) << "pictures are not muted";

  QTest::mouseClick(view.get(), Qt::LeftButton, {},
                    view->switchRect(kV1, TimelineView::HeaderSwitch::lock).center().toPoint());
  ASSERT_TRUE(trackAt(seq(), kV1).locked);
  const Project locked = editor().project();
  drag(at(kV1, 250), at(kV1, 270));
  EXPECT_EQ(editor().project(), locked);
}

TEST_F(TimelineTest, RulerMovesThePlayheadAndControlWheelZoomsAroundThePointer) {
  const QPoint ruler(static_cast<int>(view->xOf(120)), 10);
  QTest::mousePress(view.get(), Qt::LeftButton, {}, ruler);
  QTest::mouseMove(view.get(), ruler + QPoint(20, 0));
  QTest::mouseRelease(view.get(), Qt::LeftButton, {}, ruler + QPoint(20, 0));
  EXPECT_EQ(editor().state().playhead, 130);
  EXPECT_TRUE(editor().history().undoSteps().empty());

  const QPointF pointer(view->xOf(150), view->laneRect(kV1).center().y());
  QWheelEvent wheel(pointer, view->mapToGlobal(pointer), {}, {0, 240}, Qt::NoButton, Qt::ControlModifier,
                    Qt::NoScrollPhase, false);
  QApplication::sendEvent(view.get(), &wheel);
  EXPECT_GT(editor().state().pixelsPerFrame, 2);
  EXPECT_NEAR(view->xOf(150), pointer.x(), 1.0);
}

}  // namespace
}  // namespace brevelan
