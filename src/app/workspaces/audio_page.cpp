#include "app/workspaces/audio_page.h"

#include <QLabel>
#include <QVBoxLayout>

#include "edit/editor_model.h"

namespace brevelan {

// Placeholder until the workspace lands.
AudioPage::AudioPage(EditorModel& editor, PlaybackEngine&, QWidget* parent) : QWidget(parent), editor_(editor) {
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(new QLabel("AudioPage", this));
}

AudioPage::~AudioPage() = default;

}  // namespace brevelan
