#include "app/timeline/timeline_cursors.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <array>
#include <functional>

namespace brevelan {

namespace {

constexpr int kSize = 32;

// A white drawing with a dark outline, so it reads on light and dark alike;
// the hot spot is the middle.
QCursor drawn(const std::function<void(QPainterPath&)>& shape) {
  QPixmap pixmap(kSize, kSize);
  pixmap.fill(Qt::transparent);
  QPainterPath path;
  shape(path);
  QPainter p(&pixmap);
  p.setRenderHint(QPainter::Antialiasing);
  p.setBrush(Qt::NoBrush);
  p.setPen(QPen(QColor(10, 10, 12), 4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  p.drawPath(path);
  p.setPen(QPen(Qt::white, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  p.drawPath(path);
  p.end();
  return QCursor(pixmap, kSize / 2, kSize / 2);
}

// A horizontal arrow from x0 to x1 at height y, with heads on the chosen ends.
void arrow(QPainterPath& path, double x0, double x1, double y, bool left, bool right) {
  path.moveTo(x0, y);
  path.lineTo(x1, y);
  if (left) {
    path.moveTo(x0 + 4, y - 4);
    path.lineTo(x0, y);
    path.lineTo(x0 + 4, y + 4);
  }
  if (right) {
    path.moveTo(x1 - 4, y - 4);
    path.lineTo(x1, y);
    path.lineTo(x1 - 4, y + 4);
  }
}

// A bracket: an upright bar at x with serifs pointing to `dir` (+1 right, -1 left).
void bracket(QPainterPath& path, double x, double dir) {
  path.moveTo(x + 4 * dir, 6);
  path.lineTo(x, 6);
  path.lineTo(x, 26);
  path.lineTo(x + 4 * dir, 26);
}

QCursor make(TimelineCursor shape) {
  switch (shape) {
    case TimelineCursor::plain: return QCursor(Qt::ArrowCursor);
    case TimelineCursor::grab: return QCursor(Qt::OpenHandCursor);
    case TimelineCursor::grabbing: return QCursor(Qt::ClosedHandCursor);
    case TimelineCursor::trim: return QCursor(Qt::SizeHorCursor);
    case TimelineCursor::refused: return QCursor(Qt::ForbiddenCursor);
    case TimelineCursor::ripple:
      return drawn([](QPainterPath& p) {
        bracket(p, 16, 1);
        arrow(p, 19, 29, 16, false, true);
      });
    case TimelineCursor::roll:
      return drawn([](QPainterPath& p) {
        bracket(p, 14, -1);
        bracket(p, 18, 1);
        arrow(p, 2, 10, 16, true, false);
        arrow(p, 22, 30, 16, false, true);
      });
    case TimelineCursor::slip:
      return drawn([](QPainterPath& p) {
        bracket(p, 5, 1);
        bracket(p, 27, -1);
        arrow(p, 9, 23, 16, true, true);
      });
    case TimelineCursor::slide:
      return drawn([](QPainterPath& p) {
        p.addRect(11, 9, 10, 14);
        arrow(p, 1, 9, 16, true, false);
        arrow(p, 23, 31, 16, false, true);
      });
    case TimelineCursor::blade:
      return drawn([](QPainterPath& p) {
        p.moveTo(16, 4);
        p.lineTo(16, 30);
        p.moveTo(16, 4);
        p.lineTo(24, 10);
        p.lineTo(16, 16);
      });
  }
  return QCursor(Qt::ArrowCursor);
}

}  // namespace

const QCursor& timelineCursor(TimelineCursor shape) {
  static const std::array<QCursor, 10> cursors = [] {
    std::array<QCursor, 10> all;
    for (int i = 0; i < 10; ++i) all[static_cast<std::size_t>(i)] = make(static_cast<TimelineCursor>(i));
    return all;
  }();
  return cursors[static_cast<std::size_t>(shape)];
}

}  // namespace brevelan
