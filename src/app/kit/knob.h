#pragma once

#include "app/kit/value_control.h"

namespace brevelan::kit {

// A rotary control: its name above, the dial, and the value below. Dragging up
// turns it up (the whole range over kDragTravel pixels; Shift for a tenth of
// that). The lit arc starts at the default, so a centred pan or a flat EQ band
// shows no arc.
class Knob : public ValueControl {
  Q_OBJECT
 public:
  static constexpr int kDragTravel = 200;

  explicit Knob(QWidget* parent = nullptr);
  Knob(const QString& label, double minimum, double maximum, double defaultValue, const QString& suffix,
       QWidget* parent = nullptr);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  double valueForDrag(double start, QPoint delta, bool fine) const override;
  QRect editorRect() const override;
  void paintEvent(QPaintEvent* event) override;

 private:
  QRectF dialRect() const;
};

}  // namespace brevelan::kit
