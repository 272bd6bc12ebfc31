#include "app/timeline/timeline_view.h"

#include "edit/editor_model.h"

namespace brevelan {

// Placeholder until the canvas lands.
struct TimelineView::Parts {};

TimelineView::TimelineView(EditorModel& editor, QWidget* parent) : QWidget(parent), editor_(editor) {
  setMinimumHeight(200);
}
TimelineView::~TimelineView() = default;

}  // namespace brevelan
