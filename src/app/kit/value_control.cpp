#include "app/kit/value_control.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <limits>

#include "app/kit/kit_palette.h"

namespace brevelan::kit {
namespace {

// A drag starts changing the value only after this many pixels, so a click or
// the first half of a double-click never nudges it.
constexpr int kDragThreshold = 2;

// The inline number field: Enter applies, Escape and losing focus cancel.
class InlineField final : public QLineEdit {
 public:
  using QLineEdit::QLineEdit;
  std::function<void(bool apply)> done;

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) return finish(true);
    if (event->key() == Qt::Key_Escape) return finish(false);
    QLineEdit::keyPressEvent(event);
  }
  void focusOutEvent(QFocusEvent* event) override {
    QLineEdit::focusOutEvent(event);
    finish(false);
  }

 private:
  void finish(bool apply) {
    if (auto callback = std::exchange(done, nullptr)) callback(apply);
  }
};

std::optional<double> parseNumber(QString text) {
  text = text.trimmed().toLower().replace(QChar(0x2212), '-');
  if (text.contains("inf") || text.contains(QChar(0x221E)))
    return text.startsWith('-') ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
  static const QRegularExpression number(R"([-+]?(\d+\.?\d*|\.\d+)(e[-+]?\d+)?)");
  const auto match = number.match(text);
  if (!match.hasMatch()) return std::nullopt;
  bool ok = false;
  const double value = match.captured(0).toDouble(&ok);
  return ok ? std::optional<double>(value) : std::nullopt;
}

}  // namespace

ValueControl::ValueControl(QWidget* parent) : QWidget(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_Hover);
  updateToolTip();
}

void ValueControl::setRange(double minimum, double maximum) {
  minimum_ = std::min(minimum, maximum);
  maximum_ = std::max(minimum, maximum);
  default_ = clamp(default_);
  setValue(value_);
}

void ValueControl::setSteps(double single, double page) {
  singleStep_ = single;
  pageStep_ = page;
}

void ValueControl::setValue(double value) {
  value = clamp(value);
  if (value == value_) return;
  value_ = value;
  updateToolTip();
  update();
}

void ValueControl::setDecimals(int decimals) {
  decimals_ = decimals;
  updateToolTip();
  update();
}

void ValueControl::setSuffix(const QString& suffix) {
  suffix_ = suffix;
  updateToolTip();
  update();
}

void ValueControl::setFormatter(Formatter formatter) {
  formatter_ = std::move(formatter);
  updateToolTip();
  update();
}

void ValueControl::setLabel(const QString& label) {
  label_ = label;
  setAccessibleName(label);
  updateToolTip();
  update();
}

QString ValueControl::valueText() const { return formatter_ ? formatter_(value_) : formatNumber(value_); }

QString ValueControl::formatNumber(double value) const {
  // Never print "-0.0".
  if (std::abs(value) < 0.5 * std::pow(10.0, -decimals_)) value = 0;
  return QString::number(value, 'f', decimals_) + suffix_;
}

double ValueControl::clamp(double value) const {
  if (std::isnan(value)) return value_;
  return std::clamp(value, minimum_, maximum_);
}

double ValueControl::stepped(double from, double steps) const { return from + steps * singleStep_; }

void ValueControl::setValueByUser(double value) {
  value = clamp(value);
  if (value == value_) return;
  value_ = value;
  changedInGesture_ = true;
  updateToolTip();
  update();
  Q_EMIT valueChanged(value_);
}

bool ValueControl::applyText(const QString& text) {
  const auto number = parseNumber(text);
  if (!number) return false;
  setValueByUser(*number);
  finishGesture();
  return true;
}

void ValueControl::finishGesture() {
  if (!std::exchange(changedInGesture_, false)) return;
  Q_EMIT editingFinished();
}

void ValueControl::userStep(double steps) {
  setValueByUser(stepped(value_, steps));
  finishGesture();
}

void ValueControl::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
  setFocus(Qt::MouseFocusReason);
  dragging_ = true;
  fine_ = event->modifiers() & Qt::ShiftModifier;
  anchor_ = event->position().toPoint();
  anchorValue_ = value_;
  changedInGesture_ = false;
  event->accept();
}

void ValueControl::mouseMoveEvent(QMouseEvent* event) {
  if (!dragging_) return QWidget::mouseMoveEvent(event);
  const QPoint at = event->position().toPoint();
  const bool fine = event->modifiers() & Qt::ShiftModifier;
  if (fine != fine_) {
    // Shift pressed or let go mid-drag: carry on from here at the new rate.
    fine_ = fine;
    anchor_ = at;
    anchorValue_ = value_;
  }
  const QPoint delta = at - anchor_;
  if (!changedInGesture_ && delta.manhattanLength() < kDragThreshold) return;
  setValueByUser(valueForDrag(anchorValue_, delta, fine_));
  event->accept();
}

void ValueControl::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !dragging_) return QWidget::mouseReleaseEvent(event);
  dragging_ = false;
  finishGesture();
  event->accept();
}

void ValueControl::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mouseDoubleClickEvent(event);
  dragging_ = false;
  setValueByUser(default_);
  finishGesture();
  event->accept();
}

void ValueControl::wheelEvent(QWheelEvent* event) {
  const int notches = event->angleDelta().y();
  if (notches == 0) return QWidget::wheelEvent(event);
  const double fine = (event->modifiers() & Qt::ShiftModifier) ? 0.1 : 1.0;
  userStep(notches / 120.0 * fine);
  event->accept();
}

void ValueControl::keyPressEvent(QKeyEvent* event) {
  const double page = singleStep_ > 0 ? pageStep_ / singleStep_ : 0;
  const double fine = (event->modifiers() & Qt::ShiftModifier) ? 0.1 : 1.0;
  switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Right: return userStep(fine);
    case Qt::Key_Down:
    case Qt::Key_Left: return userStep(-fine);
    case Qt::Key_PageUp: return userStep(page);
    case Qt::Key_PageDown: return userStep(-page);
    case Qt::Key_Home:
      setValueByUser(default_);
      return finishGesture();
    case Qt::Key_Return:
    case Qt::Key_Enter: return openEditor(formatNumber(value_).remove(suffix_).trimmed());
    default: break;
  }
  const QString text = event->text();
  if (text.size() == 1 && (text[0].isDigit() || text[0] == '-' || text[0] == '+' || text[0] == '.'))
    return openEditor(text);
  QWidget::keyPressEvent(event);
}

void ValueControl::changeEvent(QEvent* event) {
  if (event->type() == QEvent::EnabledChange && !isEnabled() && editor_) closeEditor(false);
  QWidget::changeEvent(event);
}

QRect ValueControl::editorRect() const {
  const int height = fontMetrics().height() + 6;
  return QRect(0, (this->height() - height) / 2, width(), height);
}

void ValueControl::openEditor(const QString& initial) {
  if (editor_) return;
  auto* field = new InlineField(this);
  editor_ = field;
  field->setText(initial);
  field->setAlignment(Qt::AlignCenter);
  field->setGeometry(editorRect());
  field->setStyleSheet(QString("background: %1; color: %2; border: 1px solid %3;")
                           .arg(kWell.name(), kText.name(), kAccent.name()));
  field->done = [this](bool apply) { closeEditor(apply); };
  field->show();
  field->setFocus(Qt::OtherFocusReason);
  field->deselect();
  field->setCursorPosition(static_cast<int>(initial.size()));
}

void ValueControl::closeEditor(bool apply) {
  QLineEdit* field = std::exchange(editor_, nullptr);
  if (!field) return;
  const QString text = field->text();
  field->hide();
  field->deleteLater();
  setFocus(Qt::OtherFocusReason);
  if (apply) applyText(text);
}

void ValueControl::updateToolTip() {
  setToolTip(label_.isEmpty() ? valueText() : label_ + ": " + valueText());
}

}  // namespace brevelan::kit
