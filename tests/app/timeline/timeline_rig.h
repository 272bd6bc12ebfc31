#pragma once

#include <QTest>
#include <gtest/gtest.h>

#include <memory>

#include "app/timeline/timeline_view.h"
#include "edit/editor_fakes.h"
#include "support/widget_app.h"

namespace brevelan::testing {

// The a/b/c project of the editing tests in a real editor, shown by a
// timeline at 2 pixels a frame, driven with real mouse events.
struct TimelineRig : ::testing::Test {
  TimelineRig() {
    widgetApp();
    rig.editor->setPixelsPerFrame(2);
    view = std::make_unique<TimelineView>(*rig.editor);
    view->resize(1100, 420);
    view->show();
  }

  EditorModel& editor() { return *rig.editor; }
  const BrevSequence& seq() { return *editor().activeSequence(); }
  std::size_t steps() { return editor().history().undoSteps().size(); }
  // Press, move halfway, move there, release.
  void drag(QPoint from, QPoint to, Qt::KeyboardModifiers mods = {}) {
    QTest::mousePress(view.get(), Qt::LeftButton, mods, from);
    QTest::mouseMove(view.get(), from + QPoint((to.x() - from.x()) / 2, (to.y() - from.y()) / 2));
    QTest::mouseMove(view.get(), to);
    QTest::mouseRelease(view.get(), Qt::LeftButton, mods, to);
  }

  EditorRig rig{abcProject()};
  std::unique_ptr<TimelineView> view;
};

}  // namespace brevelan::testing
