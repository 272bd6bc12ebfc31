#pragma once

#include <QWidget>

#include <cstdint>

namespace brevelan {

class EditorModel;

// The DELIVER workspace: the presets, reframing and burnt-in captions, and the
// render queue with its jobs' status and progress; editing goes on meanwhile.
class DeliverPage : public QWidget {
  Q_OBJECT
 public:
  DeliverPage(EditorModel& editor, QWidget* parent = nullptr);
  ~DeliverPage() override;

 private:
  EditorModel& editor_;
  std::uint64_t subscription_ = 0;
};

}  // namespace brevelan
