#include "app/workspaces/captions_page.h"

#include <QLabel>
#include <QVBoxLayout>

#include "edit/editor_model.h"

namespace brevelan {

// Placeholder until the workspace lands.
CaptionsPage::CaptionsPage(EditorModel& editor, QWidget* parent) : QWidget(parent), editor_(editor) {
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(new QLabel("CaptionsPage", this));
}

CaptionsPage::~CaptionsPage() = default;

}  // namespace brevelan
