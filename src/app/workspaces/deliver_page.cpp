#include "app/workspaces/deliver_page.h"

#include <QLabel>
#include <QVBoxLayout>

#include "edit/editor_model.h"

namespace brevelan {

// Placeholder until the workspace lands.
DeliverPage::DeliverPage(EditorModel& editor, QWidget* parent) : QWidget(parent), editor_(editor) {
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(new QLabel("DeliverPage", this));
}

DeliverPage::~DeliverPage() = default;

}  // namespace brevelan
