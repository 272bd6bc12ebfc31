#include "app/workspaces/scope_view.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>

namespace brevelan {
namespace {

const QColor kBackground(14, 14, 16);
const QColor kGraticule(255, 255, 255, 38);
const QColor kScale(150, 150, 158);
const QColor kTitle(170, 170, 178);

constexpr double kKr = 0.2126, kKg = 0.7152, kKb = 0.0722;

// The vectorscope cell of an 8-bit colour, placed exactly as ScopeData::measure places pixels.
QPointF vectorCell(double r, double g, double b) {
  const double y = kKr * r + kKg * g + kKb * b;
  return {(b - y) / 1.8556 * 0.5 + 64, (r - y) / 1.5748 * -0.5 + 64};
}

std::uint64_t total(const std::vector<std::uint32_t>& counts) {
  return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

// Trace brightness: logarithmic, so a few stray pixels still show while a
// large flat area does not swamp the rest.
double glow(std::uint32_t count, double full) {
  if (count == 0) return 0;
  return std::min(1.0, std::log1p(static_cast<double>(count)) / std::log1p(std::max(full, 1.0)));
}

void drawWaveform(QPainter& p, const QRectF& area, const ScopeData* data) {
  QFont font = p.font();
  font.setPointSizeF(7.5);
  p.setFont(font);
  const double labelWidth = QFontMetricsF(font).horizontalAdvance("100") + 6;
  const QRectF plot = area.adjusted(labelWidth, 6, -6, -6);
  const auto levelY = [&](double percent) { return plot.bottom() - percent / 100 * plot.height(); };

  if (data && data->waveCols > 0 && data->waveform.size() == static_cast<std::size_t>(data->waveCols) * 256) {
    const int cols = data->waveCols;
    const double perColumn = static_cast<double>(total(data->waveform)) / cols;
    QImage trace(cols, 256, QImage::Format_RGB32);
    for (int level = 0; level < 256; ++level) {
      auto* line = reinterpret_cast<QRgb*>(trace.scanLine(255 - level));
      for (int c = 0; c < cols; ++c) {
        const double v = glow(data->waveform[static_cast<std::size_t>(c) * 256 + level], perColumn / 6);
        line[c] = qRgb(static_cast<int>(20 + 150 * v), static_cast<int>(14 + 241 * v), static_cast<int>(16 + 170 * v));
      }
    }
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    p.drawImage(plot, trace);
  }
  for (int percent = 0; percent <= 100; percent += 10) {
    const double y = levelY(percent);
    p.setPen(QPen(percent % 50 == 0 ? kGraticule.lighter(160) : kGraticule, 1));
    p.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
    if (percent % 25 != 0 && percent != 10 && percent != 90) continue;
    p.setPen(kScale);
    p.drawText(QRectF(area.left(), y - 8, labelWidth - 4, 16), Qt::AlignRight | Qt::AlignVCenter,
               QString::number(percent));
  }
}

void drawVectorscope(QPainter& p, const QRectF& area, const ScopeData* data) {
  const double side = std::min(area.width(), area.height()) - 8;
  if (side <= 0) return;
  const QRectF plot(area.center().x() - side / 2, area.center().y() - side / 2, side, side);
  const double cell = side / ScopeData::kVectorSide;
  const auto at = [&](QPointF c) { return QPointF(plot.left() + c.x() * cell, plot.top() + c.y() * cell); };

  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(Qt::NoPen);
  p.setBrush(QColor(20, 20, 23));
  p.drawEllipse(plot);

  const int n = ScopeData::kVectorSide;
  if (data && data->vector.size() == static_cast<std::size_t>(n) * n) {
    const double pixels = static_cast<double>(total(data->vector));
    QImage trace(n, n, QImage::Format_ARGB32_Premultiplied);
    for (int v = 0; v < n; ++v) {
      auto* line = reinterpret_cast<QRgb*>(trace.scanLine(v));
      for (int u = 0; u < n; ++u) {
        const double a = glow(data->vector[static_cast<std::size_t>(v) * n + u], pixels / 400);
        // Tint each cell with the colour it stands for, lightened to stay readable.
        const double cb = (u - 64) / 64.0 * 0.5, cr = (64 - v) / 64.0 * 0.5;
        const double y = 0.7;
        double r = y + 1.5748 * cr * 0.6, b = y + 1.8556 * cb * 0.6;
        double g = (y - kKr * r - kKb * b) / kKg;
        r = std::clamp(r, 0.0, 1.0), g = std::clamp(g, 0.0, 1.0), b = std::clamp(b, 0.0, 1.0);
        line[u] = qPremultiply(qRgba(static_cast<int>(255 * r), static_cast<int>(255 * g), static_cast<int>(255 * b),
                                     static_cast<int>(255 * a)));
      }
    }
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    p.drawImage(plot, trace);
  }

  // Graticule: the full-saturation circle, the axes, and boxes where 75 % colour bars land.
  p.setBrush(Qt::NoBrush);
  p.setPen(QPen(kGraticule.lighter(150), 1));
  p.drawEllipse(plot);
  p.setPen(QPen(kGraticule, 1));
  p.drawLine(QPointF(plot.left(), plot.center().y()), QPointF(plot.right(), plot.center().y()));
  p.drawLine(QPointF(plot.center().x(), plot.top()), QPointF(plot.center().x(), plot.bottom()));

  struct Target {
    const char* name;
    std::array<double, 3> rgb;
  };
  constexpr double k = 191.25;  // 75 % of full scale
  const std::array<Target, 6> targets{{{"R", {k, 0, 0}},
                                       {"Mg", {k, 0, k}},
                                       {"B", {0, 0, k}},
                                       {"Cy", {0, k, k}},
                                       {"G", {0, k, 0}},
                                       {"Yl", {k, k, 0}}}};
  QFont font = p.font();
  font.setPointSizeF(7.5);
  p.setFont(font);
  const double box = std::max(6.0, cell * 5);
  for (const Target& t : targets) {
    const QPointF c = at(vectorCell(t.rgb[0], t.rgb[1], t.rgb[2]));
    p.setPen(QPen(QColor(210, 210, 218, 130), 1));
    p.drawRect(QRectF(c.x() - box / 2, c.y() - box / 2, box, box));
    const QPointF away = c - plot.center();
    const double len = std::hypot(away.x(), away.y());
    const QPointF label = len > 0 ? c + away / len * (box + 4) : c;
    p.setPen(kScale);
    p.drawText(QRectF(label.x() - 12, label.y() - 7, 24, 14), Qt::AlignCenter, t.name);
  }

  // Skin tones of every complexion fall along one line: the NTSC I axis (123°
  // on a U/V scope), redrawn in this scope's BT.709 colour-difference plane.
  const double angle = 123 * std::numbers::pi / 180;
  const double by = std::cos(angle) / 0.492, ry = std::sin(angle) / 0.877;
  QPointF dir(by / 1.8556, -ry / 1.5748);  // screen y runs down
  dir /= std::hypot(dir.x(), dir.y());
  p.setPen(QPen(QColor(230, 170, 120, 170), 1, Qt::DashLine));
  p.drawLine(plot.center(), plot.center() + dir * (side / 2));
}

void drawHistogram(QPainter& p, const QRectF& area, const ScopeData* data) {
  const QRectF plot = area.adjusted(6, 6, -6, -6);
  p.setPen(QPen(kGraticule, 1));
  for (int q = 1; q < 4; ++q) {
    const double x = plot.left() + plot.width() * q / 4;
    p.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
  }
  p.drawLine(plot.bottomLeft(), plot.bottomRight());
  if (!data) return;
  const std::array<const std::vector<std::uint32_t>*, 4> hists{&data->histR, &data->histG, &data->histB, &data->histY};
  for (const auto* h : hists)
    if (h->size() != 256) return;

  // Scaled to the tallest inner bin: pure black or white would flatten everything else.
  double peak = 0;
  for (const auto* h : hists) peak = std::max<double>(peak, *std::max_element(h->begin() + 1, h->end() - 1));
  if (peak <= 0)
    for (const auto* h : hists) peak = std::max<double>(peak, *std::max_element(h->begin(), h->end()));
  if (peak <= 0) return;

  const auto shape = [&](const std::vector<std::uint32_t>& h) {
    QPainterPath path(plot.bottomLeft());
    for (int i = 0; i < 256; ++i) {
      const double x = plot.left() + plot.width() * (i + 0.5) / 256;
      const double y = plot.bottom() - plot.height() * std::min(1.0, h[static_cast<std::size_t>(i)] / peak);
      path.lineTo(x, y);
    }
    path.lineTo(plot.bottomRight());
    path.closeSubpath();
    return path;
  };
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(Qt::NoPen);
  // Added light: where all three overlap the fill turns grey-white.
  p.setCompositionMode(QPainter::CompositionMode_Plus);
  p.setBrush(QColor(150, 40, 40));
  p.drawPath(shape(data->histR));
  p.setBrush(QColor(40, 130, 50));
  p.drawPath(shape(data->histG));
  p.setBrush(QColor(45, 70, 170));
  p.drawPath(shape(data->histB));
  p.setCompositionMode(QPainter::CompositionMode_SourceOver);
  p.setBrush(Qt::NoBrush);
  p.setPen(QPen(QColor(230, 230, 235, 200), 1.2));
  p.drawPath(shape(data->histY));
}

}  // namespace

void drawScope(QPainter& painter, const QRectF& area, ScopeKind kind, const ScopeData* data) {
  painter.save();
  painter.fillRect(area, kBackground);
  painter.setClipRect(area);
  switch (kind) {
    case ScopeKind::waveform: drawWaveform(painter, area, data); break;
    case ScopeKind::vectorscope: drawVectorscope(painter, area, data); break;
    case ScopeKind::histogram: drawHistogram(painter, area, data); break;
  }
  painter.restore();
}

ScopeView::ScopeView(ScopeKind kind, QWidget* parent) : QWidget(parent), kind_(kind) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  const std::string_view name = text(kind);
  setObjectName(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
}

void ScopeView::setData(std::shared_ptr<const ScopeData> data) {
  data_ = std::move(data);
  update();
}

void ScopeView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  constexpr int titleHeight = 18;
  painter.fillRect(rect(), QColor(30, 30, 33));
  QFont font = painter.font();
  font.setPointSizeF(8.5);
  font.setBold(true);
  painter.setFont(font);
  painter.setPen(kTitle);
  painter.drawText(QRect(6, 0, width() - 12, titleHeight), Qt::AlignLeft | Qt::AlignVCenter, objectName());
  drawScope(painter, QRectF(0, titleHeight, width(), height() - titleHeight), kind_, data_.get());
}

}  // namespace brevelan
