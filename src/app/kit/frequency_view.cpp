#include "app/kit/frequency_view.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

#include "app/kit/kit_palette.h"

namespace brevelan::kit {

FrequencyView::FrequencyView(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
}

void FrequencyView::setCurve(std::vector<QPointF> points) {
  curve_ = std::move(points);
  update();
}

void FrequencyView::setBands(std::vector<double> frequencies, QStringList labels) {
  bands_ = std::move(frequencies);
  bandLabels_ = std::move(labels);
  update();
}

void FrequencyView::setRange(double lowHz, double highHz, double lowDB, double highDB) {
  lowHz_ = std::max(1.0, std::min(lowHz, highHz));
  highHz_ = std::max(lowHz_ * 1.01, highHz);
  lowDB_ = std::min(lowDB, highDB);
  highDB_ = std::max(lowDB_ + 1, highDB);
  update();
}

void FrequencyView::setActive(bool active) {
  if (active == active_) return;
  active_ = active;
  update();
}

double FrequencyView::xOfFrequency(double hz, const QRectF& plot) const {
  const double f = std::log(std::max(hz, 1e-3) / lowHz_) / std::log(highHz_ / lowHz_);
  return plot.left() + std::clamp(f, 0.0, 1.0) * plot.width();
}

double FrequencyView::yOfDB(double dB, const QRectF& plot) const {
  const double f = (dB - lowDB_) / (highDB_ - lowDB_);
  return plot.bottom() - std::clamp(f, 0.0, 1.0) * plot.height();
}

QRectF FrequencyView::plotRect() const {
  const QFontMetrics metrics(font());
  const double left = metrics.horizontalAdvance("+12") + 8;
  const double bottom = bandLabels_.isEmpty() ? 4 : metrics.height() + 4;
  return QRectF(left, 6, width() - left - 8, height() - 6 - bottom);
}

void FrequencyView::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  p.fillRect(rect(), kWell);
  const QRectF plot = plotRect();
  const QFontMetrics metrics(font());

  // dB grid every 6 dB, labelled at the left; 0 dB brighter.
  const double first = std::ceil(lowDB_ / 6) * 6;
  for (double dB = first; dB <= highDB_ + 1e-9; dB += 6) {
    const double y = yOfDB(dB, plot);
    p.setPen(QPen(dB == 0 ? QColor(90, 90, 98) : QColor(44, 44, 50), 1));
    p.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
    p.setPen(kDimText);
    const QString text = dB > 0 ? QString("+%1").arg(dB) : QString::number(dB);
    p.drawText(QRectF(0, y - metrics.height() / 2.0, plot.left() - 4, metrics.height()),
               Qt::AlignRight | Qt::AlignVCenter, text);
  }
  // Band lines with their labels underneath.
  for (std::size_t i = 0; i < bands_.size(); ++i) {
    const double x = xOfFrequency(bands_[i], plot);
    p.setPen(QPen(QColor(44, 44, 50), 1));
    p.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
    if (i < static_cast<std::size_t>(bandLabels_.size())) {
      p.setPen(kDimText);
      p.drawText(QRectF(x - 30, plot.bottom() + 2, 60, metrics.height()), Qt::AlignHCenter | Qt::AlignTop,
                 bandLabels_[static_cast<int>(i)]);
    }
  }

  if (curve_.size() >= 2) {
    QPainterPath line;
    for (std::size_t i = 0; i < curve_.size(); ++i) {
      const QPointF at(xOfFrequency(curve_[i].x(), plot), yOfDB(curve_[i].y(), plot));
      if (i == 0)
        line.moveTo(at);
      else
        line.lineTo(at);
    }
    const QColor colour = active_ ? kAccent : kDimText;
    QPainterPath fill = line;
    const double zero = yOfDB(0, plot);
    fill.lineTo(QPointF(line.currentPosition().x(), zero));
    fill.lineTo(QPointF(line.elementAt(0).x, zero));
    fill.closeSubpath();
    QColor wash = colour;
    wash.setAlpha(active_ ? 56 : 24);
    p.fillPath(fill, wash);
    p.setPen(QPen(colour, 2));
    p.drawPath(line);
  }
  p.setPen(QPen(QColor(10, 10, 12), 1));
  p.setBrush(Qt::NoBrush);
  p.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
}

}  // namespace brevelan::kit
