#include "app/kit/fader.h"

#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "app/kit/kit_palette.h"

namespace brevelan::kit {
namespace {

constexpr double kSilence = -std::numeric_limits<double>::infinity();
constexpr int kCapWidth = 30;
constexpr int kCapHeight = 16;

// The taper: (dB, travel position) from the top down, linear in between. The
// working range around 0 dB gets most of the travel.
constexpr std::array<std::pair<double, double>, 10> kTaper{{{12, 1.0},
                                                            {6, 0.875},
                                                            {0, 0.75},
                                                            {-6, 0.625},
                                                            {-12, 0.5},
                                                            {-20, 0.375},
                                                            {-30, 0.25},
                                                            {-40, 0.15},
                                                            {-60, 0.05},
                                                            {Fader::kFloorDB, 0.01}}};

constexpr std::array<double, 9> kScaleMarks{12, 6, 0, -6, -12, -20, -30, -40, -60};

}  // namespace

Fader::Fader(QWidget* parent) : ValueControl(parent) {
  setRange(kSilence, kTopDB);
  setDefaultValue(0);
  setValue(0);
  setSteps(0.5, 6);
  setSuffix(" dB");
  setDecimals(1);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
}

double Fader::positionOfDB(double dB) {
  if (std::isnan(dB) || dB < kFloorDB) return 0;
  if (dB >= kTopDB) return 1;
  for (std::size_t i = 1; i < kTaper.size(); ++i) {
    const auto [hiDB, hiPos] = kTaper[i - 1];
    const auto [loDB, loPos] = kTaper[i];
    if (dB >= loDB) return loPos + (dB - loDB) / (hiDB - loDB) * (hiPos - loPos);
  }
  return 0;
}

double Fader::dbAtPosition(double position) {
  if (position >= 1) return kTopDB;
  if (position < kTaper.back().second) return kSilence;
  for (std::size_t i = 1; i < kTaper.size(); ++i) {
    const auto [hiDB, hiPos] = kTaper[i - 1];
    const auto [loDB, loPos] = kTaper[i];
    if (position >= loPos) return loDB + (position - loPos) / (hiPos - loPos) * (hiDB - loDB);
  }
  return kSilence;
}

double Fader::clamp(double value) const {
  if (std::isnan(value)) return this->value();
  if (value < kFloorDB) return kSilence;
  return std::min(value, kTopDB);
}

double Fader::stepped(double from, double steps) const {
  if (std::isinf(from) && from < 0) return steps > 0 ? kFloorDB : kSilence;
  return from + steps * singleStep();
}

double Fader::valueForDrag(double start, QPoint delta, bool fine) const {
  const double travel = std::max(1, travelBottom() - travelTop());
  const double moved = -delta.y() / travel * (fine ? 0.1 : 1.0);
  return dbAtPosition(std::clamp(positionOfDB(start) + moved, 0.0, 1.0));
}

QString Fader::formatNumber(double value) const {
  if (std::isinf(value) && value < 0) return QString::fromUtf8("\u2212inf");
  const QString text = ValueControl::formatNumber(value);
  return value >= 0.05 ? "+" + text : text;
}

QFont Fader::scaleFont() const {
  QFont small = font();
  small.setPointSizeF(std::max(6.5, small.pointSizeF() * 0.8));
  return small;
}

QSize Fader::sizeHint() const {
  const QFontMetrics metrics(scaleFont());
  const int label = std::max(metrics.horizontalAdvance("+12"), metrics.horizontalAdvance(QString::fromUtf8("\u2212inf")));
  return {4 + kCapWidth + 4 + label + 4, 240};
}
QSize Fader::minimumSizeHint() const { return {sizeHint().width(), 120}; }

int Fader::grooveX() const { return 4 + kCapWidth / 2; }
int Fader::travelTop() const { return kCapHeight / 2 + 4; }
int Fader::travelBottom() const { return height() - kCapHeight / 2 - 4; }
int Fader::yOfPosition(double position) const {
  return travelBottom() - static_cast<int>(std::lround(position * (travelBottom() - travelTop())));
}

QRect Fader::editorRect() const {
  const int line = fontMetrics().height() + 6;
  return QRect(0, yOfPosition(positionOfDB(value())) - line / 2, width(), line);
}

void Fader::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  const int x = grooveX();

  // Groove.
  p.setPen(Qt::NoPen);
  p.setBrush(kWell);
  p.drawRoundedRect(QRectF(x - 3, travelTop() - 2, 6, travelBottom() - travelTop() + 4), 3, 3);

  // Scale: ticks and labels to the right of the groove.
  const QFont small = scaleFont();
  p.setFont(small);
  const QFontMetrics metrics(small);
  const int labelX = x + kCapWidth / 2 + 3;
  const auto mark = [&](double position, const QString& text, bool major) {
    const int y = yOfPosition(position);
    p.setPen(QPen(major ? kDimText : kTrack, 1));
    p.drawLine(labelX - 3, y, labelX - 1, y);
    p.setPen(major ? kText : kDimText);
    p.drawText(QRect(labelX + 1, y - metrics.height() / 2, width() - labelX - 1, metrics.height()),
               Qt::AlignLeft | Qt::AlignVCenter, text);
  };
  for (const double dB : kScaleMarks)
    mark(positionOfDB(dB), dB > 0 ? QString("+%1").arg(dB) : QString::number(dB), dB == 0);
  mark(0, QString::fromUtf8("\u2212inf"), false);

  // Cap, with a line at its centre.
  const int y = yOfPosition(positionOfDB(value()));
  const QRectF cap(x - kCapWidth / 2.0, y - kCapHeight / 2.0, kCapWidth, kCapHeight);
  QLinearGradient shade(cap.topLeft(), cap.bottomLeft());
  shade.setColorAt(0, QColor(112, 112, 120));
  shade.setColorAt(0.5, QColor(70, 70, 76));
  shade.setColorAt(1, QColor(48, 48, 52));
  p.setPen(QPen(hasFocus() ? kAccent : QColor(16, 16, 18), 1));
  p.setBrush(shade);
  p.drawRoundedRect(cap, 2, 2);
  p.setPen(QPen(isEnabled() ? kText : kDimText, 1.5));
  p.drawLine(QPointF(cap.left() + 3, y), QPointF(cap.right() - 3, y));
}

}  // namespace brevelan::kit
