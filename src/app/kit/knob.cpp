#include "app/kit/knob.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "app/kit/kit_palette.h"

namespace brevelan::kit {
namespace {

// The dial sweeps 270°, from lower left (minimum) to lower right (maximum).
constexpr double kStartAngle = 225;
constexpr double kSweep = 270;

}  // namespace

Knob::Knob(QWidget* parent) : ValueControl(parent) {}

Knob::Knob(const QString& label, double minimum, double maximum, double defaultValue, const QString& suffix,
           QWidget* parent)
    : ValueControl(parent) {
  setRange(minimum, maximum);
  setDefaultValue(defaultValue);
  setValue(defaultValue);
  setSuffix(suffix);
  setLabel(label);
  const double span = maximum - minimum;
  setSteps(span / 100, span / 10);
}

QSize Knob::sizeHint() const {
  const int line = fontMetrics().height();
  const int text = std::max(fontMetrics().horizontalAdvance(valueText()), fontMetrics().horizontalAdvance(label()));
  return {std::max(58, text + 10), 40 + 2 * line + 6};
}

QSize Knob::minimumSizeHint() const { return {46, 40 + 2 * fontMetrics().height() + 6}; }

double Knob::valueForDrag(double start, QPoint delta, bool fine) const {
  const double perPixel = (maximum() - minimum()) / kDragTravel * (fine ? 0.1 : 1.0);
  return start - delta.y() * perPixel;
}

QRectF Knob::dialRect() const {
  const int line = fontMetrics().height();
  const double size = std::max(16.0, std::min<double>(width() - 8, height() - 2 * line - 6));
  return QRectF((width() - size) / 2, line + 2, size, size);
}

QRect Knob::editorRect() const {
  const int line = fontMetrics().height() + 4;
  return QRect(0, height() - line, width(), line);
}

void Knob::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  const int line = fontMetrics().height();
  const bool enabled = isEnabled();

  p.setPen(kDimText);
  p.drawText(QRect(0, 0, width(), line), Qt::AlignCenter, fontMetrics().elidedText(label(), Qt::ElideRight, width()));

  const QRectF dial = dialRect();
  const double span = maximum() - minimum();
  const auto fraction = [&](double v) { return span > 0 ? std::clamp((v - minimum()) / span, 0.0, 1.0) : 0.0; };
  const QRectF ring = dial.adjusted(3, 3, -3, -3);

  // Track, then the lit arc from the default to the value.
  QPen track(kTrack, 3.5, Qt::SolidLine, Qt::RoundCap);
  p.setPen(track);
  p.drawArc(ring, static_cast<int>(kStartAngle * 16), static_cast<int>(-kSweep * 16));
  const double from = fraction(defaultValue());
  const double to = fraction(value());
  if (std::abs(to - from) > 1e-6) {
    QPen lit(enabled ? kAccent : kDimText, 3.5, Qt::SolidLine, Qt::RoundCap);
    p.setPen(lit);
    p.drawArc(ring, static_cast<int>((kStartAngle - from * kSweep) * 16), static_cast<int>(-(to - from) * kSweep * 16));
  }

  // The cap with its pointer.
  const QRectF cap = ring.adjusted(5, 5, -5, -5);
  QLinearGradient shade(cap.topLeft(), cap.bottomLeft());
  shade.setColorAt(0, QColor(78, 78, 84));
  shade.setColorAt(1, QColor(44, 44, 48));
  p.setPen(QPen(QColor(18, 18, 20), 1));
  p.setBrush(shade);
  p.drawEllipse(cap);
  const double angle = (kStartAngle - to * kSweep) * std::numbers::pi / 180;
  const QPointF centre = cap.center();
  const double radius = cap.width() / 2;
  const QPointF direction(std::cos(angle), -std::sin(angle));
  p.setPen(QPen(enabled ? kText : kDimText, 2, Qt::SolidLine, Qt::RoundCap));
  p.drawLine(centre + direction * radius * 0.25, centre + direction * (radius - 2));

  if (hasFocus()) {
    p.setPen(QPen(kAccent, 1));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(dial.adjusted(0.5, 0.5, -0.5, -0.5));
  }

  p.setPen(enabled ? kText : kDimText);
  p.drawText(QRect(0, height() - line - 2, width(), line), Qt::AlignCenter, valueText());
}

}  // namespace brevelan::kit
