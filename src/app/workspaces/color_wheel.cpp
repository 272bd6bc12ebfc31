#include "app/workspaces/color_wheel.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace brevelan {
namespace {

constexpr double kMargin = 7;
constexpr double kPuckRadius = 6;

}  // namespace

ColorWheelView::ColorWheelView(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  setCursor(Qt::CrossCursor);
}

double ColorWheelView::radius() const { return std::max(4.0, std::min(width(), height()) / 2.0 - kMargin); }

QPointF ColorWheelView::pointOfPuck(QPointF puck) const {
  const QPointF centre(width() / 2.0, height() / 2.0);
  return centre + QPointF(puck.x(), -puck.y()) * radius();
}

QPointF ColorWheelView::puckOfPoint(QPointF point) const {
  const QPointF centre(width() / 2.0, height() / 2.0);
  QPointF p((point.x() - centre.x()) / radius(), (centre.y() - point.y()) / radius());
  const double length = std::hypot(p.x(), p.y());
  if (length > 1) p /= length;  // the grade saturates at the rim anyway
  return p;
}

void ColorWheelView::setPuck(double x, double y) {
  if (puck_ == QPointF(x, y)) return;
  puck_ = {x, y};
  update();
}

void ColorWheelView::resizeEvent(QResizeEvent*) { disc_ = {}; }

void ColorWheelView::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  const double r = radius();
  const QPointF centre(width() / 2.0, height() / 2.0);
  const int side = static_cast<int>(std::ceil(2 * r));
  if (disc_.width() != side) {
    // Hue by angle, saturation by distance: muted, so the puck and its shadow read clearly.
    disc_ = QImage(side, side, QImage::Format_ARGB32_Premultiplied);
    disc_.fill(Qt::transparent);
    for (int y = 0; y < side; ++y) {
      auto* line = reinterpret_cast<QRgb*>(disc_.scanLine(y));
      for (int x = 0; x < side; ++x) {
        const double dx = (x + 0.5 - r) / r, dy = (r - y - 0.5) / r;
        const double d = std::hypot(dx, dy);
        if (d > 1.0) continue;
        double hue = std::atan2(dy, dx) / (2 * std::numbers::pi);
        if (hue < 0) hue += 1;
        const QColor c = QColor::fromHsvF(static_cast<float>(hue), static_cast<float>(0.62 * d), 0.42f);
        const double edge = std::clamp((1.0 - d) * r, 0.0, 1.0);  // soft rim
        line[x] = qPremultiply(qRgba(c.red(), c.green(), c.blue(), static_cast<int>(255 * edge)));
      }
    }
  }
  p.drawImage(QPointF(centre.x() - r, centre.y() - r), disc_);

  p.setPen(QPen(QColor(0, 0, 0, 120), 1));
  p.setBrush(Qt::NoBrush);
  p.drawEllipse(centre, r, r);
  p.setPen(QPen(QColor(255, 255, 255, 50), 1));
  p.drawLine(QPointF(centre.x() - r, centre.y()), QPointF(centre.x() + r, centre.y()));
  p.drawLine(QPointF(centre.x(), centre.y() - r), QPointF(centre.x(), centre.y() + r));
  p.drawEllipse(centre, r / 2, r / 2);

  const QPointF at = pointOfPuck(puck_);
  if (puck_ != QPointF()) {
    p.setPen(QPen(QColor(255, 255, 255, 120), 1));
    p.drawLine(centre, at);
  }
  p.setPen(QPen(QColor(0, 0, 0, 180), 3));
  p.drawEllipse(at, kPuckRadius, kPuckRadius);
  p.setPen(QPen(Qt::white, 1.5));
  p.drawEllipse(at, kPuckRadius, kPuckRadius);
}

void ColorWheelView::moveTo(QPointF point) {
  const QPointF next = puckOfPoint(point - grabOffset_);
  if (next == puck_) return;
  puck_ = next;
  update();
  Q_EMIT puckMoved(puck_.x(), puck_.y());
}

void ColorWheelView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !isEnabled()) return;
  const QPointF pos = event->position();
  const QPointF at = pointOfPuck(puck_);
  dragging_ = true;
  // Grabbing the puck itself moves it from where it is; elsewhere it jumps under the pointer.
  if (std::hypot(pos.x() - at.x(), pos.y() - at.y()) <= kPuckRadius + 3) {
    grabOffset_ = pos - at;
    return;
  }
  const QPointF centre(width() / 2.0, height() / 2.0);
  if (std::hypot(pos.x() - centre.x(), pos.y() - centre.y()) > radius() + kMargin) {
    dragging_ = false;
    return;
  }
  grabOffset_ = {};
  moveTo(pos);
}

void ColorWheelView::mouseMoveEvent(QMouseEvent* event) {
  if (dragging_) moveTo(event->position());
}

void ColorWheelView::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) dragging_ = false;
}

void ColorWheelView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  dragging_ = false;
  Q_EMIT resetRequested();
}

}  // namespace brevelan
