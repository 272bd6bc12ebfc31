#include "app/workspaces/audio_clip_sound.h"

#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <string>

#include "app/kit/kit_palette.h"
#include "app/workspaces/audio_eq_response.h"
#include "app/workspaces/audio_strip.h"
#include "edit/editor_model.h"
#include "sound/eq.h"

namespace brevelan {
namespace {

QString signedText(double value) {
  if (std::abs(value) < 0.05) return "0.0";
  return (value > 0 ? "+" : "") + QString::number(value, 'f', 1);
}

QLabel* sectionTitle(const QString& text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setStyleSheet(QString("font-weight: bold; color: %1;").arg(kit::kDimText.name()));
  return label;
}

// A titled block with an optional power switch at the left of its title.
QWidget* section(const QString& title, kit::IconButton* power, QLayout* body, QWidget* parent) {
  auto* box = new QFrame(parent);
  box->setObjectName("section");
  box->setStyleSheet(QString("QFrame#section { background: %1; border: 1px solid #141416; border-radius: 4px; }")
                         .arg(kit::kPanel.name()));
  auto* column = new QVBoxLayout(box);
  column->setContentsMargins(10, 8, 10, 8);
  column->setSpacing(6);
  auto* head = new QHBoxLayout;
  head->setSpacing(8);
  if (power) {
    power->setParent(box);
    head->addWidget(power);
  }
  head->addWidget(sectionTitle(title, box));
  head->addStretch(1);
  column->addLayout(head);
  column->addLayout(body);
  return box;
}

kit::Knob* knob(const QString& label, double low, double high, double preset, const QString& suffix, int decimals,
                double step, double page, QWidget* parent) {
  auto* control = new kit::Knob(label, low, high, preset, suffix, parent);
  control->setDecimals(decimals);
  control->setSteps(step, page);
  return control;
}

}  // namespace

AudioClipSound::AudioClipSound(EditorModel& editor, QWidget* parent) : QWidget(parent), editor_(editor) {
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(10, 10, 10, 10);
  outer->setSpacing(8);

  auto* head = new QHBoxLayout;
  title_ = new QLabel("Clip Sound", this);
  title_->setStyleSheet(QString("font-weight: bold; font-size: 14px; color: %1;").arg(kit::kText.name()));
  markBeats_ = new QPushButton("Mark Beats", this);
  markBeats_->setToolTip("A marker on every beat of the selected sound clip");
  head->addWidget(title_, 1);
  head->addWidget(markBeats_);
  outer->addLayout(head);

  empty_ = new QLabel("Select a sound clip to see its settings.", this);
  empty_->setStyleSheet(QString("color: %1;").arg(kit::kDimText.name()));
  outer->addWidget(empty_);

  fields_ = new QWidget(this);
  auto* fields = new QVBoxLayout(fields_);
  fields->setContentsMargins(0, 0, 0, 0);
  fields->setSpacing(8);

  // Level and fades.
  auto* levelRow = new QHBoxLayout;
  gain_ = knob("Gain", -60, 12, 0, " dB", 1, 0.5, 6, fields_);
  pan_ = knob("Pan", -1, 1, 0, "", 2, 0.01, 0.1, fields_);
  pan_->setFormatter(panText);
  fadeIn_ = knob("Fade In", 0, 300, 0, " f", 0, 1, 10, fields_);
  fadeOut_ = knob("Fade Out", 0, 300, 0, " f", 0, 1, 10, fields_);
  for (auto* control : {gain_, pan_, fadeIn_, fadeOut_}) levelRow->addWidget(control);
  levelRow->addStretch(1);
  fields->addWidget(section("Level", nullptr, levelRow, fields_));

  // The ten-band EQ: its response above the band knobs.
  eqOn_ = new kit::IconButton(kit::IconButton::Glyph::power, fields_);
  eqOn_->setObjectName("eq on");
  eqOn_->setToolTip("EQ on or off");
  auto* eqBody = new QVBoxLayout;
  response_ = new kit::FrequencyView(fields_);
  response_->setRange(20, 20000, -15, 15);
  std::vector<double> frequencies;
  QStringList labels;
  for (const double frequency : eqFrequencies(EQMode::ten)) {
    frequencies.push_back(frequency);
    labels << QString::fromStdString(eqLabel(frequency));
  }
  response_->setBands(frequencies, labels);
  eqBody->addWidget(response_);
  auto* bandRow = new QHBoxLayout;
  bandRow->setSpacing(2);
  for (int i = 0; i < AudioFX::kEQBands; ++i) {
    auto* band = knob(labels[i], -12, 12, 0, "", 1, 0.5, 3, fields_);
    band->setObjectName("eq " + labels[i]);
    band->setFormatter(signedText);
    band->setToolTip(labels[i] + " Hz");
    bands_[static_cast<std::size_t>(i)] = band;
    bandRow->addWidget(band);
  }
  eqBody->addLayout(bandRow);
  fields->addWidget(section("EQ", eqOn_, eqBody, fields_));

  // Dynamics: the gate, then the compressor, as the mixer runs them.
  auto* gateRow = new QHBoxLayout;
  gateOn_ = new kit::IconButton(kit::IconButton::Glyph::power, fields_);
  gateOn_->setToolTip("Noise gate on or off");
  gateThreshold_ = knob("Threshold", -80, 0, -45, " dB", 1, 0.5, 6, fields_);
  gateRow->addWidget(gateThreshold_);
  gateRow->addStretch(1);
  auto* compRow = new QHBoxLayout;
  compOn_ = new kit::IconButton(kit::IconButton::Glyph::power, fields_);
  compOn_->setToolTip("Compressor on or off");
  compThreshold_ = knob("Threshold", -60, 0, -18, " dB", 1, 0.5, 6, fields_);
  compRatio_ = knob("Ratio", 1, 20, 4, ":1", 1, 0.1, 1, fields_);
  compMakeup_ = knob("Make-up", 0, 24, 0, " dB", 1, 0.5, 3, fields_);
  for (auto* control : {compThreshold_, compRatio_, compMakeup_}) compRow->addWidget(control);
  compRow->addStretch(1);
  auto* dynamics = new QHBoxLayout;
  dynamics->setSpacing(8);
  dynamics->addWidget(section("Noise Gate", gateOn_, gateRow, fields_), 1);
  dynamics->addWidget(section("Compressor", compOn_, compRow, fields_), 3);
  fields->addLayout(dynamics);
  fields->addStretch(1);
  outer->addWidget(fields_, 1);
  // Wide enough for the band knobs whether or not a clip is shown yet.
  setMinimumWidth(fields_->sizeHint().width() + 20);

  bind(gain_, "Gain", [](AudioFX& fx, double v) { fx.gainDB = v; });
  bind(pan_, "Pan", [](AudioFX& fx, double v) { fx.pan = v; });
  bind(fadeIn_, "Fade In", [](AudioFX& fx, double v) { fx.fadeIn = std::llround(v); });
  bind(fadeOut_, "Fade Out", [](AudioFX& fx, double v) { fx.fadeOut = std::llround(v); });
  for (int i = 0; i < AudioFX::kEQBands; ++i) {
    const std::string name = "EQ " + labels[i].toStdString();
    bind(bands_[static_cast<std::size_t>(i)], name.c_str(), [i](AudioFX& fx, double v) {
      if (fx.eq.size() < AudioFX::kEQBands) fx.eq.resize(AudioFX::kEQBands, 0.0);
      fx.eq[static_cast<std::size_t>(i)] = v;
    });
  }
  bindSwitch(eqOn_, "EQ", [](AudioFX& fx, bool on) { fx.eqOn = on; });
  bindSwitch(gateOn_, "Noise Gate", [](AudioFX& fx, bool on) { fx.gateOn = on; });
  bind(gateThreshold_, "Gate Threshold", [](AudioFX& fx, double v) { fx.gateThresholdDB = v; });
  bindSwitch(compOn_, "Compressor", [](AudioFX& fx, bool on) { fx.compOn = on; });
  bind(compThreshold_, "Compressor Threshold", [](AudioFX& fx, double v) { fx.compThresholdDB = v; });
  bind(compRatio_, "Ratio", [](AudioFX& fx, double v) { fx.compRatio = v; });
  bind(compMakeup_, "Make-up", [](AudioFX& fx, double v) { fx.compMakeupDB = v; });

  connect(markBeats_, &QPushButton::clicked, this, [this] {
    if (const auto clip = shownClip()) editor_.markBeats(clip->id);
  });

  subscription_ = editor_.subscribe([this](Field field) {
    if (field == Field::selection || field == Field::project) refresh();
  });
  refresh();
}

AudioClipSound::~AudioClipSound() { editor_.unsubscribe(subscription_); }

std::optional<Clip> AudioClipSound::shownClip() const { return editor_.firstSelectedClip(TrackKind::audio); }

void AudioClipSound::change(const char* name, bool coalesce, const std::function<void(AudioFX&)>& body) {
  if (refreshing_) return;
  const auto clip = shownClip();
  if (!clip) return;
  // The stems carry the clip's sound, so they are made again.
  editor_.updateClip(clip->id, name, coalesce, true, [&](Clip& target) { body(target.audio.mut()); });
}

void AudioClipSound::bind(kit::Knob* control, const char* name, std::function<void(AudioFX&, double)> set) {
  connect(control, &kit::Knob::valueChanged, this, [this, name = std::string(name), set](double value) {
    change(name.c_str(), true, [&](AudioFX& fx) { set(fx, value); });
  });
}

void AudioClipSound::bindSwitch(kit::IconButton* button, const char* name, std::function<void(AudioFX&, bool)> set) {
  connect(button, &kit::IconButton::toggled, this, [this, name = std::string(name), set](bool on) {
    change(name.c_str(), false, [&](AudioFX& fx) { set(fx, on); });
  });
}

void AudioClipSound::refresh() {
  const auto clip = shownClip();
  empty_->setVisible(!clip);
  fields_->setVisible(clip.has_value());
  markBeats_->setEnabled(clip.has_value());
  title_->setText(clip ? "Clip Sound \u2014 " + QString::fromStdString(clip->name) : "Clip Sound");
  if (!clip) return;
  refreshing_ = true;
  const AudioFX& fx = *clip->audio;
  gain_->setValue(fx.gainDB);
  pan_->setValue(fx.pan);
  // A fade can run the clip's whole length.
  const double longest = std::max<double>(1, static_cast<double>(clip->duration));
  fadeIn_->setRange(0, longest);
  fadeOut_->setRange(0, longest);
  fadeIn_->setValue(static_cast<double>(fx.fadeIn));
  fadeOut_->setValue(static_cast<double>(fx.fadeOut));
  eqOn_->setChecked(fx.eqOn);
  for (std::size_t i = 0; i < bands_.size(); ++i) bands_[i]->setValue(i < fx.eq.size() ? fx.eq[i] : 0.0);
  std::vector<QPointF> curve;
  for (const auto& [frequency, dB] : eqResponse(fx.eq)) curve.emplace_back(frequency, dB);
  response_->setCurve(std::move(curve));
  response_->setActive(fx.eqOn);
  gateOn_->setChecked(fx.gateOn);
  gateThreshold_->setValue(fx.gateThresholdDB);
  compOn_->setChecked(fx.compOn);
  compThreshold_->setValue(fx.compThresholdDB);
  compRatio_->setValue(fx.compRatio);
  compMakeup_->setValue(fx.compMakeupDB);
  refreshing_ = false;
}

}  // namespace brevelan
