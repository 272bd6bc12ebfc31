#include "app/workspaces/voice_over_meter.h"

#include <QPainter>

#include <algorithm>

#include "app/kit/kit_palette.h"
#include "app/kit/level_meter.h"

namespace brevelan {
namespace {

constexpr double kFloorDB = kit::LevelMeter::kMinDB;
constexpr double kTopDB = 0;

double fraction(double dB) { return std::clamp((dB - kFloorDB) / (kTopDB - kFloorDB), 0.0, 1.0); }

}  // namespace

VoiceOverMeter::VoiceOverMeter(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  setToolTip("Microphone level");
  setAccessibleName("Microphone level");
}

void VoiceOverMeter::setLevel(float level) {
  if (level_ == level) return;
  level_ = level;
  update();
}

void VoiceOverMeter::paintEvent(QPaintEvent*) {
  QPainter p(this);
  const QRectF well = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
  p.setPen(QPen(QColor(14, 14, 16), 1));
  p.setBrush(kit::kWell);
  p.drawRect(well);

  const QRectF inside = well.adjusted(1.5, 1.5, -1.5, -1.5);
  const double lit = fraction(kit::LevelMeter::dbOfAmplitude(level_)) * inside.width();
  p.setPen(Qt::NoPen);
  // Each zone is drawn only as far as the level reaches into it.
  const struct {
    double from, to;
    QColor colour;
  } zones[] = {{kFloorDB, kit::LevelMeter::kYellowDB, kit::kMeterGreen},
               {kit::LevelMeter::kYellowDB, -6, kit::kMeterYellow},
               {-6, kTopDB, kit::kMeterRed}};
  for (const auto& zone : zones) {
    const double left = fraction(zone.from) * inside.width();
    const double right = std::min(fraction(zone.to) * inside.width(), lit);
    if (right > left) p.fillRect(QRectF(inside.left() + left, inside.top(), right - left, inside.height()), zone.colour);
  }
}

}  // namespace brevelan
