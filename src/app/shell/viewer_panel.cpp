#include "app/shell/viewer_panel.h"

#include <QHBoxLayout>
#include <QMouseEvent>
#include <QVBoxLayout>

namespace brevelan {
namespace {

QPushButton* transportButton(const QString& text, const QString& tip, QWidget* parent) {
  auto* button = new QPushButton(text, parent);
  button->setToolTip(tip);
  button->setFocusPolicy(Qt::NoFocus);  // keys belong to the window's commands
  button->setFixedWidth(40);
  return button;
}

}  // namespace

ViewerPanel::ViewerPanel(const QString& title, QWidget* parent) : QWidget(parent) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(4, 4, 4, 4);
  layout->setSpacing(4);
  title_ = new QLabel(title, this);
  title_->setStyleSheet("font-weight: bold; color: #9a9aa2;");
  layout->addWidget(title_);
  view_ = new FrameView(this);
  layout->addWidget(view_, 1);

  auto* row = new QHBoxLayout;
  row->setSpacing(4);
  timecode_ = new QLabel("00:00:00:00", this);
  timecode_->setStyleSheet("font-family: monospace; font-size: 13pt; color: #e8e8ec;");
  row->addWidget(timecode_);
  row->addStretch(1);
  auto* mark = transportButton("I", "Mark In (I)", this);
  auto* start = transportButton("|◀", "Go to Start (Home)", this);
  auto* back = transportButton("◀|", "Previous Frame (Left)", this);
  play_ = transportButton("▶", "Play/Pause (Space)", this);
  auto* forward = transportButton("|▶", "Next Frame (Right)", this);
  auto* end = transportButton("▶|", "Go to End (End)", this);
  auto* markOut = transportButton("O", "Mark Out (O)", this);
  for (QPushButton* button : {mark, start, back, play_, forward, end, markOut}) row->addWidget(button);
  row->addStretch(1);
  marks_ = new QLabel(this);
  marks_->setStyleSheet("font-family: monospace; color: #9a9aa2;");
  row->addWidget(marks_);
  layout->addLayout(row);

  connect(mark, &QPushButton::clicked, this, &ViewerPanel::markInPressed);
  connect(markOut, &QPushButton::clicked, this, &ViewerPanel::markOutPressed);
  connect(start, &QPushButton::clicked, this, [this] { Q_EMIT jumpPressed(false); });
  connect(end, &QPushButton::clicked, this, [this] { Q_EMIT jumpPressed(true); });
  connect(back, &QPushButton::clicked, this, [this] { Q_EMIT stepPressed(-1); });
  connect(forward, &QPushButton::clicked, this, [this] { Q_EMIT stepPressed(1); });
  connect(play_, &QPushButton::clicked, this, &ViewerPanel::playPressed);
  setActive(false);
}

void ViewerPanel::setPosition(std::int64_t frame, std::int64_t duration, const FrameRate& rate) {
  timecode_->setText(QString::fromStdString(rate.timecode(frame)));
  timecode_->setToolTip(QStringLiteral("Length %1").arg(QString::fromStdString(rate.timecode(duration))));
}

void ViewerPanel::setMarks(std::optional<std::int64_t> in, std::optional<std::int64_t> out, const FrameRate& rate) {
  const auto text = [&](std::optional<std::int64_t> f) {
    return f ? QString::fromStdString(rate.timecode(*f)) : QStringLiteral("--:--:--:--");
  };
  marks_->setText(in || out ? QStringLiteral("In %1  Out %2").arg(text(in), text(out)) : QString());
}

void ViewerPanel::setPlaying(bool playing) { play_->setText(playing ? "❚❚" : "▶"); }

void ViewerPanel::setActive(bool active) {
  title_->setStyleSheet(active ? "font-weight: bold; color: #6aa8ff;" : "font-weight: bold; color: #9a9aa2;");
}

void ViewerPanel::mousePressEvent(QMouseEvent* event) {
  Q_EMIT focused();
  QWidget::mousePressEvent(event);
}

}  // namespace brevelan
