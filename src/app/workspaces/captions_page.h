#pragma once

#include <QWidget>

#include <cstdint>

namespace brevelan {

class EditorModel;

// The CAPTIONS workspace: the sequence's captions (edit text and times, nudge,
// delete, add at the playhead), their style, and SRT import and export.
class CaptionsPage : public QWidget {
  Q_OBJECT
 public:
  CaptionsPage(EditorModel& editor, QWidget* parent = nullptr);
  ~CaptionsPage() override;

 private:
  EditorModel& editor_;
  std::uint64_t subscription_ = 0;
};

}  // namespace brevelan
