#pragma once

#include <QWidget>

#include <cstdint>

namespace brevelan {

class EditorModel;

// The timeline: track headers on the left, clips on a canvas that scrolls
// and zooms by the editor's pixels per frame, the playhead and the In–Out
// range on a ruler. Every tool works with the mouse through the editor's
// drag protocol; media dragged from the bin land where they are dropped.
class TimelineView : public QWidget {
  Q_OBJECT
 public:
  explicit TimelineView(EditorModel& editor, QWidget* parent = nullptr);
  ~TimelineView() override;

 private:
  struct Parts;
  EditorModel& editor_;
};

}  // namespace brevelan
