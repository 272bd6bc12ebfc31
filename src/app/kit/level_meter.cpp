#include "app/kit/level_meter.h"

#include <QElapsedTimer>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <limits>

#include "app/kit/kit_palette.h"

namespace brevelan::kit {
namespace {

constexpr double kSilence = -std::numeric_limits<double>::infinity();

double steadySeconds() {
  static QElapsedTimer timer = [] {
    QElapsedTimer t;
    t.start();
    return t;
  }();
  return timer.nsecsElapsed() / 1e9;
}

}  // namespace

LevelMeter::LevelMeter(QWidget* parent) : QWidget(parent), level_{kSilence, kSilence}, peak_{kSilence, kSilence} {
  clock_ = steadySeconds;
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
  // Repaints only while a peak mark is on its way down.
  fall_.setInterval(33);
  connect(&fall_, &QTimer::timeout, this, [this] {
    update();
    if (!falling()) fall_.stop();
  });
}

double LevelMeter::dbOfAmplitude(double amplitude) {
  if (!(amplitude > 0)) return kSilence;
  return 20 * std::log10(amplitude);
}

void LevelMeter::setLevels(float left, float right) {
  const double t = now();
  const std::array<double, 2> levels{dbOfAmplitude(left), dbOfAmplitude(right)};
  for (int channel = 0; channel < 2; ++channel) {
    if (levels[channel] >= peakDB(channel)) {
      peak_[channel] = levels[channel];
      peakTime_[channel] = t;
    }
    level_[channel] = levels[channel];
  }
  setToolTip(QString("L %1 dB  R %2 dB")
                 .arg(std::isinf(level_[0]) ? QString::fromUtf8("\u2212inf") : QString::number(level_[0], 'f', 1))
                 .arg(std::isinf(level_[1]) ? QString::fromUtf8("\u2212inf") : QString::number(level_[1], 'f', 1)));
  if (falling() && !fall_.isActive()) fall_.start();
  update();
}

double LevelMeter::levelDB(int channel) const { return level_[std::clamp(channel, 0, 1)]; }

double LevelMeter::peakDB(int channel) const {
  channel = std::clamp(channel, 0, 1);
  const double age = now() - peakTime_[channel];
  if (age < kHoldSeconds || std::isinf(peak_[channel])) return peak_[channel];
  return std::max(level_[channel], peak_[channel] - (age - kHoldSeconds) * kFallDBPerSecond);
}

bool LevelMeter::falling() const { return peakDB(0) > level_[0] || peakDB(1) > level_[1]; }

void LevelMeter::paintEvent(QPaintEvent*) {
  QPainter p(this);
  const QRect area = rect();
  p.fillRect(area, kWell);
  const int gap = 2;
  const int barWidth = std::max(2, (area.width() - 3 * gap) / 2);
  const int top = area.top() + 2;
  const int bottom = area.bottom() - 1;
  const auto yOf = [&](double dB) {
    const double f = std::clamp((dB - kMinDB) / (kMaxDB - kMinDB), 0.0, 1.0);
    return bottom - static_cast<int>(std::lround(f * (bottom - top)));
  };
  const auto zoneColour = [](double dB) { return dB > kRedDB ? kMeterRed : dB > kYellowDB ? kMeterYellow : kMeterGreen; };
  const int yellowY = yOf(kYellowDB);
  const int redY = yOf(kRedDB);

  for (int channel = 0; channel < 2; ++channel) {
    const int x = area.left() + gap + channel * (barWidth + gap);
    // Unlit zones, faint, so the scale reads even in silence.
    p.fillRect(QRect(x, top, barWidth, redY - top), kMeterRed.darker(520));
    p.fillRect(QRect(x, redY, barWidth, yellowY - redY), kMeterYellow.darker(520));
    p.fillRect(QRect(x, yellowY, barWidth, bottom - yellowY + 1), kMeterGreen.darker(520));

    const double level = level_[channel];
    if (level > kMinDB) {
      const int y = yOf(level);
      p.fillRect(QRect(x, std::max(y, yellowY), barWidth, bottom - std::max(y, yellowY) + 1), kMeterGreen);
      if (y < yellowY) p.fillRect(QRect(x, std::max(y, redY), barWidth, yellowY - std::max(y, redY)), kMeterYellow);
      if (y < redY) p.fillRect(QRect(x, y, barWidth, redY - y), kMeterRed);
    }
    const double peak = peakDB(channel);
    if (peak > kMinDB) p.fillRect(QRect(x, yOf(peak), barWidth, 2), zoneColour(peak).lighter(120));
  }
  // 0 dBFS line.
  p.fillRect(QRect(area.left(), redY, area.width(), 1), QColor(255, 255, 255, 60));
}

}  // namespace brevelan::kit
