#include "app/workspaces/color_page.h"

#include <QLabel>
#include <QVBoxLayout>

#include "edit/editor_model.h"

namespace brevelan {

// Placeholder until the workspace lands.
ColorPage::ColorPage(EditorModel& editor, PlaybackEngine&, QWidget* parent) : QWidget(parent), editor_(editor) {
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(new QLabel("ColorPage", this));
}

ColorPage::~ColorPage() = default;

}  // namespace brevelan
