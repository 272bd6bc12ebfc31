#include "app/shell/clip_inspector.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QVBoxLayout>

#include <cmath>

#include "edit/editor_model.h"

namespace brevelan {
namespace {

QDoubleSpinBox* numberField(double low, double high, double step, int decimals, const QString& suffix, QWidget* parent) {
  auto* box = new QDoubleSpinBox(parent);
  box->setRange(low, high);
  box->setSingleStep(step);
  box->setDecimals(decimals);
  box->setSuffix(suffix);
  box->setKeyboardTracking(false);  // typed numbers apply on Enter, not per digit
  return box;
}

// The speed slider runs on a log scale so 25 % and 400 % sit equally far from 100 %.
int sliderOfRate(double rate) { return static_cast<int>(std::lround(std::log2(rate) * 100)); }
double rateOfSlider(int value) { return std::pow(2.0, value / 100.0); }

}  // namespace

ClipInspector::ClipInspector(EditorModel& editor, QWidget* parent) : QWidget(parent), editor_(editor) {
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(6, 6, 6, 6);
  auto* title = new QLabel("Inspector", this);
  title->setStyleSheet("font-weight: bold; color: #9a9aa2;");
  outer->addWidget(title);
  empty_ = new QLabel("Select a clip to see its settings.", this);
  empty_->setWordWrap(true);
  empty_->setStyleSheet("color: #8a8a92;");
  outer->addWidget(empty_);
  outer->setAlignment(Qt::AlignTop);

  fields_ = new QWidget(this);
  auto* form = new QVBoxLayout(fields_);
  form->setContentsMargins(0, 0, 0, 0);
  auto* clipBox = new QGroupBox("Clip", fields_);
  auto* clipForm = new QFormLayout(clipBox);
  name_ = new QLineEdit(clipBox);
  enabled_ = new QCheckBox("Enabled", clipBox);
  clipForm->addRow("Name", name_);
  clipForm->addRow("", enabled_);
  form->addWidget(clipBox);

  auto* transformBox = new QGroupBox("Transform", fields_);
  auto* transformForm = new QFormLayout(transformBox);
  x_ = numberField(-10000, 10000, 1, 1, " px", transformBox);
  y_ = numberField(-10000, 10000, 1, 1, " px", transformBox);
  scale_ = numberField(1, 1000, 1, 1, " %", transformBox);
  rotation_ = numberField(-360, 360, 1, 1, " °", transformBox);
  opacity_ = numberField(0, 100, 1, 0, " %", transformBox);
  transformForm->addRow("X", x_);
  transformForm->addRow("Y", y_);
  transformForm->addRow("Scale", scale_);
  transformForm->addRow("Rotation", rotation_);
  transformForm->addRow("Opacity", opacity_);
  form->addWidget(transformBox);

  auto* speedBox = new QGroupBox("Speed", fields_);
  auto* speedForm = new QFormLayout(speedBox);
  speedSlider_ = new QSlider(Qt::Horizontal, speedBox);
  speedSlider_->setRange(sliderOfRate(0.25), sliderOfRate(4.0));
  speed_ = numberField(25, 400, 5, 0, " %", speedBox);
  reverse_ = new QCheckBox("Reverse", speedBox);
  freeze_ = new QCheckBox("Freeze", speedBox);
  speedForm->addRow(speedSlider_);
  speedForm->addRow("Rate", speed_);
  speedForm->addRow("", reverse_);
  speedForm->addRow("", freeze_);
  form->addWidget(speedBox);

  auto* soundBox = new QGroupBox("Sound", fields_);
  auto* soundForm = new QFormLayout(soundBox);
  volume_ = numberField(-60, 12, 0.5, 1, " dB", soundBox);
  pan_ = new QSlider(Qt::Horizontal, soundBox);
  pan_->setRange(-100, 100);
  pan_->setToolTip("Pan: left … right");
  soundForm->addRow("Volume", volume_);
  soundForm->addRow("Pan", pan_);
  form->addWidget(soundBox);
  form->addStretch(1);
  outer->addWidget(fields_);
  outer->addStretch(1);

  connect(name_, &QLineEdit::editingFinished, this, [this] {
    const std::string text = name_->text().toStdString();
    change("Rename", false, [&](Clip& clip) { clip.name = text; });
  });
  connect(enabled_, &QCheckBox::toggled, this, [this](bool on) {
    change(on ? "Enable" : "Disable", false, [&](Clip& clip) { clip.enabled = on; });
  });
  const auto transformField = [this](QDoubleSpinBox* box, const char* name, auto set) {
    connect(box, &QDoubleSpinBox::valueChanged, this, [this, name, set](double value) {
      change(name, true, [&](Clip& clip) { set(clip.transform.mut(), value); });
    });
  };
  transformField(x_, "Position", [](Transform& t, double v) { t.x = v; });
  transformField(y_, "Position", [](Transform& t, double v) { t.y = v; });
  transformField(scale_, "Scale", [](Transform& t, double v) { t.scale = v / 100; });
  transformField(rotation_, "Rotation", [](Transform& t, double v) { t.rotation = v; });
  transformField(opacity_, "Opacity", [](Transform& t, double v) { t.opacity = v / 100; });

  connect(speedSlider_, &QSlider::valueChanged, this, [this](int value) {
    if (refreshing_) return;
    QSignalBlocker block(speed_);
    speed_->setValue(std::round(rateOfSlider(value) * 100));
    applySpeed();
  });
  connect(speed_, &QDoubleSpinBox::valueChanged, this, [this](double) { applySpeed(); });
  connect(reverse_, &QCheckBox::toggled, this, [this] { applySpeed(); });
  connect(freeze_, &QCheckBox::toggled, this, [this] { applySpeed(); });

  connect(volume_, &QDoubleSpinBox::valueChanged, this, [this](double dB) {
    change("Volume", true, [&](Clip& clip) { clip.audio.mut().gainDB = dB; });
  });
  connect(pan_, &QSlider::valueChanged, this, [this](int value) {
    change("Pan", true, [&](Clip& clip) { clip.audio.mut().pan = value / 100.0; });
  });

  subscription_ = editor_.subscribe([this](Field field) {
    if (field == Field::selection || field == Field::project) refresh();
  });
  refresh();
}

ClipInspector::~ClipInspector() { editor_.unsubscribe(subscription_); }

std::optional<Clip> ClipInspector::shownClip() const { return editor_.firstSelectedClip(); }

void ClipInspector::change(const char* name, bool coalesce, const std::function<void(Clip&)>& body) {
  if (refreshing_) return;
  const auto clip = shownClip();
  if (!clip) return;
  editor_.updateClip(clip->id, name, coalesce, true, body);
}

void ClipInspector::applySpeed() {
  if (refreshing_ || !shownClip()) return;
  const double rate = speed_->value() / 100.0;
  {
    QSignalBlocker block(speedSlider_);
    speedSlider_->setValue(sliderOfRate(rate));
  }
  editor_.setSpeed(rate, reverse_->isChecked(), freeze_->isChecked(), std::nullopt);
}

void ClipInspector::refresh() {
  const auto clip = shownClip();
  empty_->setVisible(!clip);
  fields_->setVisible(clip.has_value());
  if (!clip) return;
  refreshing_ = true;
  const auto set = [](QDoubleSpinBox* box, double value) {
    if (!box->hasFocus() || std::abs(box->value() - value) > 1e-9) box->setValue(value);
  };
  if (!name_->hasFocus()) name_->setText(QString::fromStdString(clip->name));
  enabled_->setChecked(clip->enabled);
  const Transform& t = *clip->transform;
  set(x_, t.x);
  set(y_, t.y);
  set(scale_, t.scale * 100);
  set(rotation_, t.rotation);
  set(opacity_, t.opacity * 100);
  set(speed_, clip->speed.rate * 100);
  speedSlider_->setValue(sliderOfRate(clip->speed.rate));
  reverse_->setChecked(clip->speed.reverse);
  freeze_->setChecked(clip->speed.freeze);
  set(volume_, clip->audio->gainDB);
  pan_->setValue(static_cast<int>(std::lround(clip->audio->pan * 100)));
  refreshing_ = false;
}

}  // namespace brevelan
