#pragma once

#include <QPoint>
#include <QString>
#include <QWidget>

#include <functional>
#include <optional>

class QLineEdit;

namespace brevelan::kit {

// The behaviour every value control of the kit shares: a clamped value in a
// range with a default, mouse drag, wheel, keyboard steps (arrows, Page Up/Down,
// Home for the default), double-click to reset, typing a number (Enter or a
// digit opens an inline field) and a tooltip that shows the value.
//
// setValue() is quiet, so a panel can refresh its controls without echoing
// changes back. Everything the user does emits valueChanged() for each new
// value and editingFinished() once the gesture ends (the end of a drag, each
// key or wheel step, a reset, a typed value): a caller makes one undo step per
// gesture.
class ValueControl : public QWidget {
  Q_OBJECT
 public:
  using Formatter = std::function<QString(double)>;

  explicit ValueControl(QWidget* parent = nullptr);

  double value() const { return value_; }
  double minimum() const { return minimum_; }
  double maximum() const { return maximum_; }
  double defaultValue() const { return default_; }
  double singleStep() const { return singleStep_; }
  double pageStep() const { return pageStep_; }

  void setRange(double minimum, double maximum);
  void setDefaultValue(double value) { default_ = clamp(value); }
  void setSteps(double single, double page);
  // Clamps into the range and repaints, without signals.
  void setValue(double value);

  // How the value reads: a number with `decimals` places and the suffix, or
  // whatever the formatter returns.
  void setDecimals(int decimals);
  void setSuffix(const QString& suffix);
  void setFormatter(Formatter formatter);
  QString valueText() const;
  // The control's name, drawn by controls that show one and used in the tooltip.
  void setLabel(const QString& label);
  QString label() const { return label_; }

  // Applies typed text as the user's value ("+40", "-6 dB", "−inf"): clamped,
  // with both signals. Returns false for text that holds no number.
  bool applyText(const QString& text);
  // Sets the value as the user would (clamped, valueChanged when it changed).
  void setValueByUser(double value);

 Q_SIGNALS:
  void valueChanged(double value);
  void editingFinished();

 protected:
  // The value a drag reaches: `start` at the press, moved by `delta` pixels.
  virtual double valueForDrag(double start, QPoint delta, bool fine) const = 0;
  // The value `steps` single steps (fractions allowed) away from `from`.
  virtual double stepped(double from, double steps) const;
  virtual double clamp(double value) const;
  // Where the inline number field opens.
  virtual QRect editorRect() const;
  virtual QString formatNumber(double value) const;

  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;

  bool dragging() const { return dragging_; }

 private:
  void userStep(double steps);
  void finishGesture();
  void openEditor(const QString& initial);
  void closeEditor(bool apply);
  void updateToolTip();

  double minimum_ = 0;
  double maximum_ = 1;
  double default_ = 0;
  double value_ = 0;
  double singleStep_ = 0.01;
  double pageStep_ = 0.1;
  int decimals_ = 1;
  QString suffix_;
  QString label_;
  Formatter formatter_;

  bool dragging_ = false;
  bool fine_ = false;
  bool changedInGesture_ = false;
  QPoint anchor_;
  double anchorValue_ = 0;
  QLineEdit* editor_ = nullptr;
};

}  // namespace brevelan::kit
