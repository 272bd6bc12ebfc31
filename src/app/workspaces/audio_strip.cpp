#include "app/workspaces/audio_strip.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <cmath>

#include "app/kit/kit_palette.h"

namespace brevelan {

QString panText(double pan) {
  const int percent = static_cast<int>(std::lround(pan * 100));
  if (percent == 0) return "C";
  return (percent < 0 ? "L" : "R") + QString::number(std::abs(percent));
}

AudioStrip::AudioStrip(const QString& name, bool master, QWidget* parent) : QWidget(parent), master_(master) {
  setObjectName(master ? "master" : "strip " + name);
  fader_ = new kit::Fader(this);
  meter_ = new kit::LevelMeter(this);
  setFixedWidth(fader_->sizeHint().width() + meter_->sizeHint().width() + 2 + 16);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(8, 8, 8, 8);
  column->setSpacing(6);

  name_ = new QLabel(name, this);
  name_->setAlignment(Qt::AlignCenter);
  name_->setStyleSheet(QString("font-weight: bold; color: %1;").arg(kit::kText.name()));
  column->addWidget(name_);

  if (!master) {
    pan_ = new kit::Knob("Pan", -1, 1, 0, "", this);
    pan_->setObjectName("pan");
    pan_->setSteps(0.01, 0.1);
    pan_->setFormatter(panText);
    column->addWidget(pan_, 0, Qt::AlignHCenter);

    auto* switches = new QHBoxLayout;
    switches->setSpacing(6);
    mute_ = new kit::IconButton(kit::IconButton::Glyph::mute, this);
    mute_->setObjectName("mute");
    solo_ = new kit::IconButton(kit::IconButton::Glyph::solo, this);
    solo_->setObjectName("solo");
    switches->addStretch(1);
    switches->addWidget(mute_);
    switches->addWidget(solo_);
    switches->addStretch(1);
    column->addLayout(switches);
  } else {
    // Keeps the master's fader level with the tracks' faders.
    column->addSpacing(kit::Knob().sizeHint().height() + kit::IconButton(kit::IconButton::Glyph::mute).sizeHint().height() +
                       column->spacing());
  }

  auto* faderRow = new QHBoxLayout;
  faderRow->setSpacing(2);
  fader_->setObjectName("fader");
  fader_->setLabel(master ? "Master" : "Volume");
  meter_->setObjectName("meter");
  faderRow->addWidget(fader_, 0);
  faderRow->addWidget(meter_, 0);
  column->addLayout(faderRow, 1);

  readout_ = new kit::LcdReadout(fader_->valueText(), 7, this);
  column->addWidget(readout_);
  connect(fader_, &kit::Fader::valueChanged, this, [this] { readout_->setText(fader_->valueText()); });
}

void AudioStrip::setName(const QString& name) {
  name_->setText(name);
  setObjectName(master_ ? "master" : "strip " + name);
}

void AudioStrip::showLevel(double dB) {
  fader_->setValue(dB <= kSilentDB ? -INFINITY : dB);
  readout_->setText(fader_->valueText());
}

double AudioStrip::storedLevel() const {
  const double value = fader_->value();
  return std::isinf(value) ? kSilentDB : value;
}

void AudioStrip::showPan(double pan) {
  if (pan_) pan_->setValue(pan);
}

void AudioStrip::showSwitches(bool muted, bool solo) {
  if (mute_) mute_->setChecked(muted);
  if (solo_) solo_->setChecked(solo);
}

void AudioStrip::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(QPen(QColor(16, 16, 18), 1));
  p.setBrush(master_ ? kit::kPanel.lighter(112) : kit::kPanel);
  p.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
}

}  // namespace brevelan
