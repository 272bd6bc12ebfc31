#include "app/kit/segmented_button.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

#include "app/kit/kit_palette.h"

namespace brevelan::kit {

SegmentedButton::SegmentedButton(QWidget* parent) : QWidget(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

SegmentedButton::SegmentedButton(const QStringList& items, QWidget* parent) : SegmentedButton(parent) {
  setItems(items);
}

void SegmentedButton::setItems(const QStringList& items) {
  items_ = items;
  current_ = items_.isEmpty() ? -1 : std::clamp(current_, 0, static_cast<int>(items_.size()) - 1);
  setToolTip(currentText());
  updateGeometry();
  update();
}

void SegmentedButton::setCurrentIndex(int index) {
  if (index < 0 || index >= items_.size() || index == current_) return;
  current_ = index;
  setToolTip(currentText());
  update();
}

void SegmentedButton::choose(int index) {
  if (index < 0 || index >= items_.size() || index == current_) return;
  setCurrentIndex(index);
  Q_EMIT currentIndexChanged(index);
}

QSize SegmentedButton::sizeHint() const {
  int widest = 0;
  for (const QString& item : items_) widest = std::max(widest, fontMetrics().horizontalAdvance(item));
  return {static_cast<int>(items_.size()) * (widest + 20) + 2, fontMetrics().height() + 10};
}

QRectF SegmentedButton::segmentRect(int index) const {
  const double w = (width() - 2.0) / std::max<qsizetype>(1, items_.size());
  return QRectF(1 + index * w, 1, w, height() - 2);
}

int SegmentedButton::segmentAt(QPoint point) const {
  for (int i = 0; i < items_.size(); ++i)
    if (segmentRect(i).contains(point)) return i;
  return -1;
}

void SegmentedButton::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  const QRectF outline = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
  const double radius = 4;
  p.setPen(QPen(hasFocus() ? kAccent : QColor(14, 14, 16), 1));
  p.setBrush(kWell);
  p.drawRoundedRect(outline, radius, radius);
  QPainterPath clip;
  clip.addRoundedRect(outline.adjusted(1, 1, -1, -1), radius - 1, radius - 1);
  for (int i = 0; i < items_.size(); ++i) {
    const QRectF segment = segmentRect(i);
    if (i == current_) {
      p.save();
      p.setClipPath(clip);
      p.fillRect(segment, isEnabled() ? kAccent.darker(140) : kTrack);
      p.restore();
    } else if (i > 0 && i - 1 != current_) {
      p.setPen(QPen(kTrack, 1));
      p.drawLine(QPointF(segment.left(), segment.top() + 4), QPointF(segment.left(), segment.bottom() - 4));
    }
    p.setPen(i == current_ ? kText : kDimText);
    p.drawText(segment, Qt::AlignCenter, items_[i]);
  }
}

void SegmentedButton::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
  choose(segmentAt(event->position().toPoint()));
}

void SegmentedButton::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Up: return choose(current_ - 1);
    case Qt::Key_Right:
    case Qt::Key_Down: return choose(current_ + 1);
    case Qt::Key_Home: return choose(0);
    case Qt::Key_End: return choose(static_cast<int>(items_.size()) - 1);
    default: QWidget::keyPressEvent(event);
  }
}

}  // namespace brevelan::kit
