#include "app/workspaces/color_page.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QSlider>
#include <QSplitter>
#include <QVBoxLayout>

#include <cmath>
#include <fstream>
#include <sstream>

#include "app/playback/frame_view.h"
#include "app/playback/playback_engine.h"
#include "app/workspaces/color_curves.h"
#include "app/workspaces/color_wheel.h"
#include "app/workspaces/scope_sampler.h"
#include "app/workspaces/scope_view.h"
#include "edit/editor_model.h"
#include "picture/lut.h"
#include "picture/lut_library.h"

namespace brevelan {
namespace {

// A rebuild that has not shown its picture by then is taken as lost, so a
// drag never stalls the picture.
constexpr int kPictureTimeoutMs = 300;

struct CurveChannel {
  const char* label;
  ToneCurve ColorGrade::*member;
  QColor color;
};
const CurveChannel kCurveChannels[] = {{"Master", &ColorGrade::master, QColor(225, 225, 230)},
                                       {"Red", &ColorGrade::red, QColor(240, 90, 90)},
                                       {"Green", &ColorGrade::green, QColor(100, 205, 110)},
                                       {"Blue", &ColorGrade::blue, QColor(95, 145, 255)}};

QLabel* dimLabel(const QString& text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setStyleSheet("color: #a4a4ac;");
  return label;
}

QGroupBox* panel(const QString& title, QWidget* parent) {
  auto* box = new QGroupBox(title, parent);
  box->setStyleSheet("QGroupBox { font-weight: bold; color: #b8b8c0; }");
  return box;
}

std::optional<std::string> readText(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad()) return std::nullopt;
  return text.str();
}

}  // namespace

ColorPage::ColorPage(EditorModel& editor, PlaybackEngine& program, QWidget* parent)
    : QWidget(parent), editor_(editor), program_(program) {
  chooseLUT_ = [this]() -> std::optional<std::filesystem::path> {
    QString folder;
    if (const auto clip = gradedClip(); clip && clip->grade->lutPath)
      folder = QFileInfo(QString::fromStdString(*clip->grade->lutPath)).absolutePath();
    const QString file = QFileDialog::getOpenFileName(this, "Load LUT", folder, "Cube LUTs (*.cube)");
    if (file.isEmpty()) return std::nullopt;
    return std::filesystem::path(file.toStdString());
  };

  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(8, 6, 8, 8);
  outer->setSpacing(6);

  auto* header = new QHBoxLayout;
  clipTitle_ = new QLabel(this);
  clipTitle_->setStyleSheet("font-weight: bold; color: #d8d8de;");
  gradeOn_ = new QCheckBox("Grade On", this);
  gradeOn_->setObjectName("Grade On");
  gradeOn_->setToolTip("Switch the whole grade off to compare with the original picture.");
  header->addWidget(clipTitle_, 1);
  header->addWidget(gradeOn_);
  outer->addLayout(header);

  auto* split = new QSplitter(Qt::Vertical, this);
  split->setChildrenCollapsible(false);
  outer->addWidget(split, 1);

  // Upper half: the program picture with the scopes beside it.
  auto* upper = new QSplitter(Qt::Horizontal, split);
  upper->setChildrenCollapsible(false);
  picture_ = new FrameView(upper);
  picture_->setPlaceholder("The timeline plays here.");
  auto* scopeBox = new QWidget(upper);
  auto* scopeGrid = new QGridLayout(scopeBox);
  scopeGrid->setContentsMargins(0, 0, 0, 0);
  scopeGrid->setSpacing(4);
  for (ScopeKind kind : {ScopeKind::waveform, ScopeKind::vectorscope, ScopeKind::histogram})
    scopes_.push_back(new ScopeView(kind, scopeBox));
  scopeGrid->addWidget(scopes_[0], 0, 0, 1, 2);
  scopeGrid->addWidget(scopes_[1], 1, 0);
  scopeGrid->addWidget(scopes_[2], 1, 1);
  scopeGrid->setRowStretch(0, 1);
  scopeGrid->setRowStretch(1, 1);
  upper->addWidget(picture_);
  upper->addWidget(scopeBox);
  upper->setStretchFactor(0, 3);
  upper->setStretchFactor(1, 2);
  upper->setSizes({900, 600});

  // Lower half: the grade's controls, left to right in the order they apply.
  auto* lower = new QWidget(split);
  auto* controls = new QHBoxLayout(lower);
  controls->setContentsMargins(0, 0, 0, 0);
  controls->setSpacing(8);
  controls->addWidget(buildPrimaries(), 3);
  controls->addWidget(buildWheels(), 5);
  controls->addWidget(buildCurves(), 3);
  controls->addWidget(buildLUT(), 2);
  split->addWidget(upper);
  split->addWidget(lower);
  split->setStretchFactor(0, 3);
  split->setStretchFactor(1, 2);
  split->setSizes({520, 340});

  connect(gradeOn_, &QCheckBox::toggled, this,
          [this](bool on) { change(on ? "Grade On" : "Grade Off", false, [&](ColorGrade& g) { g.enabled = on; }); });

  sampler_ = new ScopeSampler(this);
  connect(sampler_, &ScopeSampler::measured, this,
          [this](std::shared_ptr<const ScopeData> data) { editor_.setScopes(std::move(data)); });
  connect(&program_, &PlaybackEngine::frameShown, this, [this](const QImage& image, qint64) { frameShown(image); });

  pictureTimeout_.setSingleShot(true);
  pictureTimeout_.setInterval(kPictureTimeoutMs);
  connect(&pictureTimeout_, &QTimer::timeout, this, [this] { pictureLanded(); });

  subscription_ = editor_.subscribe([this](Field field) {
    switch (field) {
      case Field::selection:
      case Field::project: refresh(); break;
      case Field::scopes:
        for (ScopeView* view : scopes_) view->setData(editor_.state().scopes);
        break;
      case Field::playRate:
        if (editor_.state().playRate == 0) measureStill();
        break;
      default: break;
    }
  });
  for (ScopeView* view : scopes_) view->setData(editor_.state().scopes);
  refresh();
}

ColorPage::~ColorPage() { editor_.unsubscribe(subscription_); }

QWidget* ColorPage::buildPrimaries() {
  auto* box = panel("Primaries", this);
  auto* grid = new QGridLayout(box);
  grid->setHorizontalSpacing(8);
  grid->setColumnStretch(1, 1);
  addControl(grid, 0, "Exposure", "Exposure", -4, 4, 100, 1, 2, " EV", 0, [](auto& g) { return g.exposure; },
             [](auto& g, double v) { g.exposure = v; });
  addControl(grid, 1, "Temperature", "Temperature", -1, 1, 100, 100, 0, "", 0, [](auto& g) { return g.temperature; },
             [](auto& g, double v) { g.temperature = v; });
  addControl(grid, 2, "Tint", "Tint", -1, 1, 100, 100, 0, "", 0, [](auto& g) { return g.tint; },
             [](auto& g, double v) { g.tint = v; });
  addControl(grid, 3, "Contrast", "Contrast", -1, 1, 100, 100, 0, "", 0, [](auto& g) { return g.contrast; },
             [](auto& g, double v) { g.contrast = v; });
  addControl(grid, 4, "Saturation", "Saturation", 0, 2, 100, 100, 0, " %", 1, [](auto& g) { return g.saturation; },
             [](auto& g, double v) { g.saturation = v; });
  grid->setRowStretch(5, 1);
  auto* hint = dimLabel("Double-click a slider to reset it.", box);
  hint->setStyleSheet("color: #707078; font-size: 11px;");
  grid->addWidget(hint, 6, 0, 1, 3);
  panels_.push_back(box);
  return box;
}

QWidget* ColorPage::buildWheels() {
  auto* box = panel("Color Wheels", this);
  auto* row = new QHBoxLayout(box);
  row->setSpacing(10);
  const struct {
    const char* name;
    const char* luma;
    ColorWheel ColorGrade::*member;
    const char* tip;
  } wheels[] = {{"Lift", "Lift Luma", &ColorGrade::lift, "Shadows"},
                {"Gamma", "Gamma Luma", &ColorGrade::gamma, "Midtones"},
                {"Gain", "Gain Luma", &ColorGrade::gain, "Highlights"}};
  for (const auto& w : wheels) {
    auto* column = new QWidget(box);
    auto* layout = new QGridLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setHorizontalSpacing(4);
    auto* title = new QLabel(QString("%1  <span style='color:#74747c'>%2</span>").arg(w.name, w.tip), column);
    title->setAlignment(Qt::AlignCenter);
    layout->addWidget(title, 0, 0, 1, 2);
    auto* view = new ColorWheelView(column);
    view->setObjectName(w.name);
    view->setToolTip("Drag to tint; double-click to centre.");
    layout->addWidget(view, 1, 0, 1, 2);
    layout->setRowStretch(1, 1);
    const auto member = w.member;
    addControl(layout, 2, nullptr, w.name, -1, 1, 100, 100, 0, "", 0,
               [member](const ColorGrade& g) { return (g.*member).luma; },
               [member](ColorGrade& g, double v) { (g.*member).luma = v; });
    controls_.back()->slider->setObjectName(w.luma);
    controls_.back()->slider->setToolTip(QString("%1 level").arg(w.name));
    row->addWidget(column, 1);

    const char* name = w.name;
    wheels_.push_back({name, view, member});
    connect(view, &ColorWheelView::puckMoved, this, [this, name, member](double x, double y) {
      change(name, true, [&](ColorGrade& g) {
        (g.*member).x = x;
        (g.*member).y = y;
      });
    });
    connect(view, &ColorWheelView::resetRequested, this, [this, name, member] {
      change(name, false, [&](ColorGrade& g) {
        (g.*member).x = 0;
        (g.*member).y = 0;
      });
    });
  }
  panels_.push_back(box);
  return box;
}

QWidget* ColorPage::buildCurves() {
  auto* box = panel("Curves", this);
  auto* layout = new QVBoxLayout(box);
  auto* buttons = new QHBoxLayout;
  buttons->setSpacing(2);
  curveChannel_ = new QButtonGroup(box);
  for (int i = 0; i < 4; ++i) {
    auto* button = new QPushButton(kCurveChannels[i].label, box);
    button->setCheckable(true);
    button->setChecked(i == 0);
    button->setObjectName(QString("%1 Curve").arg(kCurveChannels[i].label));
    button->setStyleSheet(QString("QPushButton { padding: 2px 8px; } QPushButton:checked { color: %1; }")
                              .arg(kCurveChannels[i].color.name()));
    curveChannel_->addButton(button, i);
    buttons->addWidget(button);
  }
  buttons->addStretch(1);
  auto* reset = new QPushButton("Reset", box);
  reset->setToolTip("Straighten the curve shown.");
  buttons->addWidget(reset);
  layout->addLayout(buttons);
  curves_ = new CurveEditor(box);
  curves_->setToolTip("Click to add a point, drag to shape; double-click a point or drag it out to remove it.");
  layout->addWidget(curves_, 1);

  connect(curveChannel_, &QButtonGroup::idClicked, this, [this] { refresh(); });
  connect(curves_, &CurveEditor::edited, this, [this] {
    const ToneCurve curve = curves_->curve();
    const auto member = shownCurve();
    change("Curves", true, [&](ColorGrade& g) { g.*member = curve; });
  });
  connect(reset, &QPushButton::clicked, this, [this] {
    const auto member = shownCurve();
    change("Curves", false, [&](ColorGrade& g) { g.*member = ToneCurve{}; });
  });
  panels_.push_back(box);
  return box;
}

QWidget* ColorPage::buildLUT() {
  auto* box = panel("LUT", this);
  auto* grid = new QGridLayout(box);
  grid->setColumnStretch(0, 1);
  auto* load = new QPushButton("Load LUT…", box);
  load->setObjectName("Load LUT");
  grid->addWidget(load, 0, 0, 1, 2);
  lutName_ = new QLabel(box);
  lutName_->setObjectName("LUT Name");
  lutName_->setWordWrap(true);
  lutName_->setMinimumWidth(60);
  grid->addWidget(lutName_, 1, 0, 1, 2);
  grid->addWidget(dimLabel("Amount", box), 2, 0, 1, 2);
  addControl(grid, 3, nullptr, "LUT Amount", 0, 1, 100, 100, 0, " %", 1, [](auto& g) { return g.lutAmount; },
             [](auto& g, double v) { g.lutAmount = v; });
  removeLUT_ = new QPushButton("Remove LUT", box);
  removeLUT_->setObjectName("Remove LUT");
  grid->addWidget(removeLUT_, 4, 0, 1, 2);
  grid->setRowStretch(5, 1);

  connect(load, &QPushButton::clicked, this, [this] { loadLUT(); });
  connect(removeLUT_, &QPushButton::clicked, this,
          [this] { change("Remove LUT", false, [](ColorGrade& g) { g.lutPath.reset(); }); });
  panels_.push_back(box);
  return box;
}

ColorPage::Control& ColorPage::addControl(QGridLayout* grid, int row, const char* label, const char* name, double low,
                                          double high, double steps, double display, int decimals,
                                          const QString& suffix, double neutral,
                                          std::function<double(const ColorGrade&)> get,
                                          std::function<void(ColorGrade&, double)> set) {
  QWidget* parent = grid->parentWidget();
  auto control = std::make_unique<Control>();
  control->name = name;
  control->steps = steps;
  control->display = display;
  control->neutral = neutral;
  control->get = std::move(get);
  control->set = std::move(set);
  control->slider = new QSlider(Qt::Horizontal, parent);
  control->slider->setObjectName(name);
  control->slider->setRange(static_cast<int>(std::lround(low * steps)), static_cast<int>(std::lround(high * steps)));
  control->slider->setPageStep(static_cast<int>(steps / 10));
  control->slider->installEventFilter(this);
  control->number = new QDoubleSpinBox(parent);
  control->number->setObjectName(QString("%1 Number").arg(name));
  control->number->setRange(low * display, high * display);
  control->number->setDecimals(decimals);
  control->number->setSingleStep(decimals > 0 ? 0.05 : 1);
  control->number->setSuffix(suffix);
  control->number->setKeyboardTracking(false);  // typed numbers apply on Enter, not per digit
  control->number->setAlignment(Qt::AlignRight);
  control->number->setMinimumWidth(72);
  int column = 0;
  if (label) grid->addWidget(dimLabel(label, parent), row, column++);
  grid->addWidget(control->slider, row, column++);
  grid->addWidget(control->number, row, column);

  Control* c = control.get();
  connect(c->slider, &QSlider::valueChanged, this, [this, c](int steps) {
    if (refreshing_) return;
    const double value = steps / c->steps;
    {
      QSignalBlocker block(c->number);
      c->number->setValue(value * c->display);
    }
    change(c->name, true, [&](ColorGrade& g) { c->set(g, value); });
  });
  connect(c->number, &QDoubleSpinBox::valueChanged, this, [this, c](double shown) {
    if (refreshing_) return;
    const double value = shown / c->display;
    {
      QSignalBlocker block(c->slider);
      c->slider->setValue(static_cast<int>(std::lround(value * c->steps)));
    }
    change(c->name, true, [&](ColorGrade& g) { c->set(g, value); });
  });
  controls_.push_back(std::move(control));
  return *controls_.back();
}

bool ColorPage::eventFilter(QObject* watched, QEvent* event) {
  // Double-clicking a slider puts its value back to neutral as one step.
  if (event->type() == QEvent::MouseButtonDblClick)
    for (const auto& c : controls_)
      if (c->slider == watched) {
        const double neutral = c->neutral;
        const auto set = c->set;
        change(c->name, false, [&](ColorGrade& g) { set(g, neutral); });
        return true;
      }
  return QWidget::eventFilter(watched, event);
}

void ColorPage::setControl(const Control& control, double value) {
  if (!control.slider->isSliderDown()) control.slider->setValue(static_cast<int>(std::lround(value * control.steps)));
  const double shown = value * control.display;
  if (!control.number->hasFocus() || std::abs(control.number->value() - shown) > 1e-9) control.number->setValue(shown);
}

std::optional<Clip> ColorPage::gradedClip() const { return editor_.firstSelectedClip(TrackKind::video); }

ToneCurve ColorGrade::*ColorPage::shownCurve() const {
  const int id = std::max(curveChannel_->checkedId(), 0);
  return kCurveChannels[id].member;
}

void ColorPage::refresh() {
  const auto clip = gradedClip();
  for (QWidget* p : panels_) p->setEnabled(clip.has_value());
  gradeOn_->setEnabled(clip.has_value());
  removeLUT_->setEnabled(clip && clip->grade->lutPath);
  clipTitle_->setText(clip ? QString("Grading  “%1”").arg(QString::fromStdString(clip->name))
                           : QString("Select a clip on a video track to grade it."));
  const ColorGrade grade = clip ? *clip->grade : ColorGrade{};

  refreshing_ = true;
  for (const auto& c : controls_) setControl(*c, c->get(grade));
  for (const Wheel& w : wheels_) w.view->setPuck((grade.*w.member).x, (grade.*w.member).y);
  const int channel = std::max(curveChannel_->checkedId(), 0);
  curves_->setCurve(grade.*kCurveChannels[channel].member, kCurveChannels[channel].color);
  gradeOn_->setChecked(grade.enabled);
  refreshing_ = false;

  if (!grade.lutPath) {
    lutName_->setText("<span style='color:#74747c'>No LUT</span>");
    lutName_->setToolTip({});
    return;
  }
  const QString file = QFileInfo(QString::fromStdString(*grade.lutPath)).fileName();
  const auto lut = LUTLibrary::shared().lut(grade.lutPath);
  QString shown = (lut && !lut->title.empty() ? QString::fromStdString(lut->title) : file).toHtmlEscaped();
  // Long file names break after their separators instead of running out of the panel.
  for (const char* separator : {"_", "-", "."}) shown.replace(separator, QString(separator) + QChar(0x200B));
  if (!lut) shown += " <span style='color:#d07060'>(missing)</span>";
  lutName_->setText(shown);
  lutName_->setToolTip(QString::fromStdString(*grade.lutPath));
}

void ColorPage::change(const char* name, bool coalesce, const std::function<void(ColorGrade&)>& body) {
  if (refreshing_) return;
  const auto clip = gradedClip();
  if (!clip) return;
  // The picture is rebuilt here, paced, rather than by the edit's own delayed
  // rebuild: a drag sends changes faster than a rebuild lands, and each new
  // request would drop the one in flight, so nothing would show until the drag stopped.
  if (editor_.updateClip(clip->id, name, coalesce, false, [&](Clip& c) { body(c.grade.mut()); })) requestPicture();
}

void ColorPage::loadLUT() {
  const auto clip = gradedClip();
  if (!clip || !chooseLUT_) return;
  const auto file = chooseLUT_();
  if (!file) return;
  const std::string path = file->string();
  const auto text = readText(*file);
  if (!text) {
    const std::string name = file->filename().string();
    editor_.showAlert(std::string(kLUTAlertTitle), "The file “" + name + "” could not be read.");
    return;
  }
  if (auto parsed = LUT::parse(*text); !parsed) {
    editor_.showAlert(std::string(kLUTAlertTitle), parsed.error().description());
    return;
  }
  change("LUT", false, [&](ColorGrade& g) { g.lutPath = path; });
}

void ColorPage::requestPicture() {
  pictureWanted_ = true;
  if (!replacing_) startPicture();
}

void ColorPage::startPicture() {
  pictureWanted_ = false;
  replacing_ = editor_.currentBuild();
  pictureTimeout_.start();
  editor_.scheduleRebuild(0);
}

void ColorPage::pictureLanded() {
  replacing_.reset();
  pictureTimeout_.stop();
  if (pictureWanted_) startPicture();
}

void ColorPage::frameShown(const QImage& picture) {
  picture_->setPicture(picture);
  lastFrame_ = picture;
  if (replacing_ && editor_.currentBuild() != *replacing_) pictureLanded();
  // Scopes read the frame under a stopped playhead; while playing they hold the last one.
  if (program_.rate() == 0 && isVisible() && !picture.isNull()) sampler_->sample(picture);
}

void ColorPage::measureStill() {
  if (program_.rate() == 0 && isVisible() && !lastFrame_.isNull()) sampler_->sample(lastFrame_);
}

void ColorPage::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  measureStill();
}

}  // namespace brevelan
