#pragma once

#include "app/kit/value_control.h"

namespace brevelan::kit {

// A vertical gain fader in dB with its scale beside it: +12 dB at the top,
// −∞ (shown "−inf") at the bottom, 0 dB three quarters of the way up. Values
// below kFloorDB are silence (−infinity); anything typed or set is clamped into
// −inf … +12 dB. Dragging moves the cap with the mouse; Shift for a tenth.
// Arrows step 0.5 dB, Page Up/Down 6 dB, Home and double-click go to 0 dB.
class Fader : public ValueControl {
  Q_OBJECT
 public:
  static constexpr double kTopDB = 12;
  static constexpr double kFloorDB = -90;

  explicit Fader(QWidget* parent = nullptr);

  // Travel position 0 (bottom) … 1 (top) of a level, and back.
  static double positionOfDB(double dB);
  static double dbAtPosition(double position);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  double valueForDrag(double start, QPoint delta, bool fine) const override;
  double stepped(double from, double steps) const override;
  double clamp(double value) const override;
  QString formatNumber(double value) const override;
  QRect editorRect() const override;
  void paintEvent(QPaintEvent* event) override;

 private:
  QFont scaleFont() const;
  int grooveX() const;
  int travelTop() const;
  int travelBottom() const;
  int yOfPosition(double position) const;
};

}  // namespace brevelan::kit
