#pragma once

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QWidget>

#include <cstdint>
#include <functional>
#include <optional>

#include "model/clip.h"

namespace brevelan {

class EditorModel;

// The selected clip's settings: name, enabled, transform, speed (25 %–400 %,
// reverse, freeze) and its sound's volume and pan. Every control changes the
// clip through the editor under the edit's name; a stream of changes from one
// control is one undo step.
class ClipInspector : public QWidget {
  Q_OBJECT
 public:
  explicit ClipInspector(EditorModel& editor, QWidget* parent = nullptr);
  ~ClipInspector() override;

  // The clip shown: the first selected clip, picture before sound.
  std::optional<Clip> shownClip() const;

 private:
  void refresh();
  void change(const char* name, bool coalesce, const std::function<void(Clip&)>& body);
  void applySpeed();

  EditorModel& editor_;
  std::uint64_t subscription_ = 0;
  bool refreshing_ = false;

  QLabel* empty_;
  QWidget* fields_;
  QLineEdit* name_;
  QCheckBox* enabled_;
  QDoubleSpinBox* x_;
  QDoubleSpinBox* y_;
  QDoubleSpinBox* scale_;
  QDoubleSpinBox* rotation_;
  QDoubleSpinBox* opacity_;
  QSlider* speedSlider_;
  QDoubleSpinBox* speed_;
  QCheckBox* reverse_;
  QCheckBox* freeze_;
  QDoubleSpinBox* volume_;
  QSlider* pan_;
};

}  // namespace brevelan
