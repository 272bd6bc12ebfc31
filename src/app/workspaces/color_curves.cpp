#include "app/workspaces/color_curves.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

#include "picture/tone_curve.h"

namespace brevelan {
namespace {

constexpr double kInset = 6;
constexpr double kGrab = 7;       // pixels from a point that still grab it
constexpr double kTearOff = 24;   // pixels outside the box that remove a held point
constexpr double kMinGap = 0.01;  // points keep this far apart in x

}  // namespace

CurveEditor::CurveEditor(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  setCursor(Qt::CrossCursor);
}

void CurveEditor::setCurve(const ToneCurve& curve, QColor color) {
  if (held_) return;
  ToneCurve sorted = curve;
  std::stable_sort(sorted.points.begin(), sorted.points.end(), [](auto& a, auto& b) { return a.x < b.x; });
  if (sorted == curve_ && color == color_) return;
  curve_ = std::move(sorted);
  color_ = color;
  update();
}

QRectF CurveEditor::box() const {
  const double side = std::max(10.0, std::min(width(), height()) - 2 * kInset);
  return {(width() - side) / 2, (height() - side) / 2, side, side};
}

QPointF CurveEditor::pointOf(CurvePoint value) const {
  const QRectF b = box();
  return {b.left() + value.x * b.width(), b.bottom() - value.y * b.height()};
}

CurvePoint CurveEditor::valueOf(QPointF point) const {
  const QRectF b = box();
  return {std::clamp((point.x() - b.left()) / b.width(), 0.0, 1.0),
          std::clamp((b.bottom() - point.y()) / b.height(), 0.0, 1.0)};
}

std::optional<std::size_t> CurveEditor::pointNear(QPointF pos) const {
  std::optional<std::size_t> best;
  double bestDistance = kGrab;
  for (std::size_t i = 0; i < curve_.points.size(); ++i) {
    const QPointF at = pointOf(curve_.points[i]);
    const double d = std::hypot(at.x() - pos.x(), at.y() - pos.y());
    if (d <= bestDistance) best = i, bestDistance = d;
  }
  return best;
}

void CurveEditor::removePoint(std::size_t index) {
  if (curve_.points.size() <= 2 || index >= curve_.points.size()) return;
  curve_.points.erase(curve_.points.begin() + static_cast<std::ptrdiff_t>(index));
  held_.reset();
  update();
  Q_EMIT edited();
}

void CurveEditor::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  const QRectF b = box();
  p.fillRect(b, QColor(18, 18, 21));
  p.setPen(QPen(QColor(255, 255, 255, 28), 1));
  for (int q = 1; q < 4; ++q) {
    p.drawLine(QPointF(b.left() + b.width() * q / 4, b.top()), QPointF(b.left() + b.width() * q / 4, b.bottom()));
    p.drawLine(QPointF(b.left(), b.top() + b.height() * q / 4), QPointF(b.right(), b.top() + b.height() * q / 4));
  }
  p.setPen(QPen(QColor(255, 255, 255, 45), 1, Qt::DashLine));
  p.drawLine(b.bottomLeft(), b.topRight());
  p.setPen(QPen(QColor(70, 70, 76), 1));
  p.setBrush(Qt::NoBrush);
  p.drawRect(b);

  const MonotoneCurve shape(curve_);
  QPainterPath path;
  const int steps = std::max(32, static_cast<int>(b.width() / 2));
  for (int i = 0; i <= steps; ++i) {
    const double x = static_cast<double>(i) / steps;
    const QPointF at = pointOf({x, std::clamp(shape(x), 0.0, 1.0)});
    if (i == 0)
      path.moveTo(at);
    else
      path.lineTo(at);
  }
  p.setPen(QPen(color_, 1.6));
  p.drawPath(path);

  for (std::size_t i = 0; i < curve_.points.size(); ++i) {
    const QPointF at = pointOf(curve_.points[i]);
    p.setPen(QPen(Qt::black, 1));
    p.setBrush(held_ == i ? QColor(Qt::white) : color_);
    p.drawEllipse(at, 4, 4);
  }
}

void CurveEditor::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !isEnabled()) return;
  const QPointF pos = event->position();
  if (const auto near = pointNear(pos)) {
    held_ = near;
    update();
    return;
  }
  if (!box().adjusted(-kGrab, -kGrab, kGrab, kGrab).contains(pos)) return;
  CurvePoint added = valueOf(pos);
  auto& points = curve_.points;
  const auto at = std::lower_bound(points.begin(), points.end(), added.x, [](auto& p, double x) { return p.x < x; });
  // Too close to a neighbour to tell apart: no new point.
  if ((at != points.end() && at->x - added.x < kMinGap) || (at != points.begin() && added.x - (at - 1)->x < kMinGap))
    return;
  held_ = static_cast<std::size_t>(points.insert(at, added) - points.begin());
  update();
  Q_EMIT edited();
}

void CurveEditor::mouseMoveEvent(QMouseEvent* event) {
  if (!held_) return;
  const QPointF pos = event->position();
  const QRectF torn = box().adjusted(-kTearOff, -kTearOff, kTearOff, kTearOff);
  if (!torn.contains(pos) && curve_.points.size() > 2) return removePoint(*held_);

  auto& points = curve_.points;
  const std::size_t i = *held_;
  CurvePoint moved = valueOf(pos);
  const double low = i > 0 ? points[i - 1].x + kMinGap : 0.0;
  const double high = i + 1 < points.size() ? points[i + 1].x - kMinGap : 1.0;
  moved.x = std::clamp(moved.x, std::min(low, high), std::max(low, high));
  if (moved == points[i]) return;
  points[i] = moved;
  update();
  Q_EMIT edited();
}

void CurveEditor::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !held_) return;
  held_.reset();
  update();
}

void CurveEditor::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  if (const auto near = pointNear(event->position())) removePoint(*near);
}

}  // namespace brevelan
