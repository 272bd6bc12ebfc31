#include "app/workspaces/deliver_page.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include <algorithm>

#include "edit/editor_model.h"
#include "model/file_error.h"

namespace brevelan {

namespace fs = std::filesystem;

// One job in the queue: what it makes, where, how far it is, and what can be done with it.
class RenderJobRow : public QFrame {
 public:
  RenderJobRow(const RenderJob& job, QWidget* parent) : QFrame(parent), id(job.id), file(job.url) {
    setFrameShape(QFrame::StyledPanel);
    setStyleSheet("RenderJobRow { background: #26262a; border: 1px solid #34343a; border-radius: 4px; }");
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(10, 6, 8, 6);
    auto* words = new QVBoxLayout;
    words->setSpacing(1);
    name = new QLabel(QString::fromStdString(job.name), this);
    name->setStyleSheet("font-weight: bold; color: #e4e4e8; background: transparent; border: none;");
    auto* where = new QLabel(QString::fromStdString(job.url.string()), this);
    where->setStyleSheet("color: #8a8a92; background: transparent; border: none;");
    where->setToolTip(where->text());
    where->setMinimumWidth(80);
    words->addWidget(name);
    words->addWidget(where);
    layout->addLayout(words, 1);
    status = new QLabel(this);
    status->setMinimumWidth(150);
    status->setStyleSheet("color: #c8c8ce; background: transparent; border: none;");
    layout->addWidget(status);
    progress = new QProgressBar(this);
    progress->setRange(0, 1000);
    progress->setTextVisible(false);
    progress->setFixedWidth(160);
    progress->setFixedHeight(8);
    layout->addWidget(progress);
    cancel = new QPushButton("Cancel", this);
    cancel->setAutoDefault(false);
    reveal = new QPushButton("Show in Folder", this);
    reveal->setAutoDefault(false);
    layout->addWidget(cancel);
    layout->addWidget(reveal);
    display(job);
  }

  void display(const RenderJob& job) {
    using Status = RenderJob::Status;
    QString text;
    switch (job.status) {
      case Status::waiting: text = "Waiting"; break;
      case Status::rendering: text = QStringLiteral("Rendering — %1 %").arg(static_cast<int>(job.progress * 100)); break;
      case Status::done: text = QStringLiteral("Done in %1 s").arg(job.seconds, 0, 'f', 1); break;
      case Status::cancelled: text = "Cancelled"; break;
      case Status::failed: text = "Failed — " + QString::fromStdString(job.failure); break;
    }
    status->setText(text);
    status->setToolTip(text);
    status->setStyleSheet(job.status == Status::failed ? "color: #ff7a6e; background: transparent; border: none;"
                                                       : "color: #c8c8ce; background: transparent; border: none;");
    progress->setValue(static_cast<int>(job.progress * 1000));
    progress->setVisible(job.status == Status::rendering || job.status == Status::waiting);
    cancel->setVisible(job.status == Status::rendering || job.status == Status::waiting);
    reveal->setVisible(job.status == Status::done);
  }

  Uuid id;
  fs::path file;
  QLabel* name;
  QLabel* status;
  QProgressBar* progress;
  QPushButton* cancel;
  QPushButton* reveal;
};

namespace {

// A preset as two lines: its name, and under it the detail in a quieter colour.
class PresetDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  static constexpr int kDetailRole = Qt::UserRole + 1;

  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
    return {option.rect.width(), option.fontMetrics.height() * 2 + 16};
  }

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    QStyleOptionViewItem plain = option;
    initStyleOption(&plain, index);
    plain.text.clear();
    option.widget->style()->drawControl(QStyle::CE_ItemViewItem, &plain, painter, option.widget);
    const bool selected = option.state & QStyle::State_Selected;
    const QRect area = option.rect.adjusted(10, 6, -8, -6);
    const int line = option.fontMetrics.height();
    painter->save();
    QFont bold = option.font;
    bold.setBold(true);
    painter->setFont(bold);
    painter->setPen(selected ? QColor(255, 255, 255) : QColor(226, 226, 230));
    painter->drawText(QRect(area.left(), area.top(), area.width(), line), Qt::AlignLeft | Qt::AlignVCenter,
                      index.data(Qt::DisplayRole).toString());
    painter->setFont(option.font);
    painter->setPen(selected ? QColor(220, 230, 255) : QColor(138, 138, 146));
    const QString detail = index.data(kDetailRole).toString();
    painter->drawText(QRect(area.left(), area.top() + line + 2, area.width(), line), Qt::AlignLeft | Qt::AlignVCenter,
                      option.fontMetrics.elidedText(detail, Qt::ElideRight, area.width()));
    painter->restore();
  }
};

QLabel* dimLabel(const QString& text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setStyleSheet("color: #8a8a92;");
  label->setWordWrap(true);
  return label;
}

}  // namespace

DeliverPage::DeliverPage(EditorModel& editor, QWidget* parent) : QWidget(parent), editor_(editor) {
  queue_ = std::make_unique<RenderQueue>(
      [](std::function<void()> work) { QMetaObject::invokeMethod(qApp, std::move(work), Qt::QueuedConnection); });
  queue_->onChange = [this](const RenderJob& job) { jobChanged(job); };
  queue_->onFinish = [this](const RenderJob& job) {
    const QString file = QString::fromStdString(curlyQuoted(job.url.filename().string()));
    switch (job.status) {
      case RenderJob::Status::done:
        editor_.setStatus(QStringLiteral("Exported %1 in %2 s").arg(file).arg(job.seconds, 0, 'f', 1).toStdString());
        break;
      case RenderJob::Status::failed: editor_.setStatus("Export of " + curlyQuoted(job.name) + " failed"); break;
      default: editor_.setStatus("Export of " + curlyQuoted(job.name) + " cancelled"); break;
    }
  };

  auto* outer = new QHBoxLayout(this);
  outer->setContentsMargins(10, 10, 10, 10);
  outer->setSpacing(12);

  // Left: what to make.
  auto* left = new QVBoxLayout;
  auto* presetBox = new QGroupBox("Presets", this);
  auto* presetLayout = new QVBoxLayout(presetBox);
  presets_ = new QListWidget(presetBox);
  presets_->setItemDelegate(new PresetDelegate(presets_));
  presets_->setUniformItemSizes(true);
  for (const ExportPreset& preset : allPresets()) {
    auto* item = new QListWidgetItem(QString::fromStdString(preset.name), presets_);
    item->setData(PresetDelegate::kDetailRole, QString::fromStdString(preset.detail));
    item->setToolTip(QString::fromStdString(preset.detail));
  }
  presetLayout->addWidget(presets_);
  left->addWidget(presetBox, 1);

  auto* options = new QGroupBox("Export", this);
  auto* form = new QFormLayout(options);
  form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
  sequenceLine_ = dimLabel("", options);
  output_ = dimLabel("", options);
  reframe_ = new QComboBox(options);
  for (const auto& [mode, label] : EnumTexts<Reframe>::items) reframe_->addItem(QString::fromUtf8(label.data(), label.size()));
  reframe_->setToolTip("How the sequence's picture is placed in a frame of another shape");
  reframeLabel_ = new QLabel("Reframe", options);
  burn_ = new QCheckBox("Burn in captions", options);
  burn_->setToolTip("Draw the sequence's captions into the picture");
  add_ = new QPushButton("Add to Render Queue", options);
  add_->setAutoDefault(false);
  add_->setStyleSheet("QPushButton { padding: 6px 14px; font-weight: bold; }");
  form->addRow("Sequence", sequenceLine_);
  form->addRow("Output", output_);
  form->addRow(reframeLabel_, reframe_);
  form->addRow("", burn_);
  auto* addRow = new QHBoxLayout;
  addRow->addStretch(1);
  addRow->addWidget(add_);
  form->addRow(addRow);
  left->addWidget(options);
  auto* leftPanel = new QWidget(this);
  leftPanel->setLayout(left);
  left->setContentsMargins(0, 0, 0, 0);
  leftPanel->setFixedWidth(420);
  outer->addWidget(leftPanel);

  // Right: the queue.
  auto* queueBox = new QGroupBox("Render Queue", this);
  auto* queueLayout = new QVBoxLayout(queueBox);
  auto* scroll = new QScrollArea(queueBox);
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  auto* rowsHolder = new QWidget(scroll);
  rowsLayout_ = new QVBoxLayout(rowsHolder);
  rowsLayout_->setContentsMargins(0, 0, 0, 0);
  rowsLayout_->setSpacing(6);
  empty_ = new QLabel(emptyQueueText(), rowsHolder);
  empty_->setAlignment(Qt::AlignCenter);
  empty_->setWordWrap(true);
  empty_->setStyleSheet("color: #8a8a92; padding: 40px;");
  rowsLayout_->addWidget(empty_);
  rowsLayout_->addStretch(1);
  scroll->setWidget(rowsHolder);
  queueLayout->addWidget(scroll, 1);
  auto* queueBar = new QHBoxLayout;
  queueBar->addStretch(1);
  clear_ = new QPushButton("Clear finished", queueBox);
  clear_->setAutoDefault(false);
  clear_->setToolTip("Remove done, failed and cancelled jobs from the list");
  queueBar->addWidget(clear_);
  queueLayout->addLayout(queueBar);
  outer->addWidget(queueBox, 1);

  chooseDestination = [this](const QString& title, const QString& suggested, const QString& extension)
      -> std::optional<fs::path> {
    QFileDialog dialog(this, title);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(extension);
    dialog.setNameFilter(QStringLiteral("%1 files (*.%2)").arg(extension.toUpper(), extension));
    dialog.selectFile(suggested + "." + extension);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    return fs::path(dialog.selectedFiles().front().toStdString());
  };
  openUrl = [](const QUrl& url) { QDesktopServices::openUrl(url); };

  connect(presets_, &QListWidget::currentRowChanged, this, [this](int row) {
    if (row < 0) return;
    reframe_->setCurrentIndex(static_cast<int>(allPresets()[static_cast<std::size_t>(row)].reframe));
    refreshOptions();
  });
  connect(add_, &QPushButton::clicked, this, [this] { addToQueue(); });
  connect(clear_, &QPushButton::clicked, this, [this] { clearFinished(); });

  subscription_ = editor_.subscribe([this](Field field) {
    if (field == Field::project) refreshOptions();
  });
  choosePreset(0);
  syncQueue();
}

DeliverPage::~DeliverPage() {
  editor_.unsubscribe(subscription_);
  // A running export stops at its next frame; nothing reaches the rows after this.
  queue_->onChange = nullptr;
  queue_->onFinish = nullptr;
  queue_.reset();
}

void DeliverPage::choosePreset(int index) {
  presets_->setCurrentRow(index);
  refreshOptions();
}

const ExportPreset& DeliverPage::preset() const {
  const int row = std::max(0, presets_->currentRow());
  return allPresets()[static_cast<std::size_t>(row)];
}

bool DeliverPage::reframeOffered() const {
  const ExportPreset& p = preset();
  const BrevSequence* sequence = editor_.activeSequence();
  if (p.audioOnly || !sequence || !p.width || !p.height) return false;
  return static_cast<std::int64_t>(*p.width) * sequence->height != static_cast<std::int64_t>(*p.height) * sequence->width;
}

void DeliverPage::setReframe(Reframe reframe) { reframe_->setCurrentIndex(static_cast<int>(reframe)); }

void DeliverPage::setBurnCaptions(bool on) { burn_->setChecked(on); }

void DeliverPage::refreshOptions() {
  const BrevSequence* sequence = editor_.activeSequence();
  const ExportPreset& p = preset();
  if (sequence) {
    sequenceLine_->setText(QStringLiteral("%1 · %2 × %3 · %4 · %5")
                               .arg(QString::fromStdString(sequence->name))
                               .arg(sequence->width)
                               .arg(sequence->height)
                               .arg(QString::fromStdString(sequence->rate.label()),
                                    QString::fromStdString(sequence->rate.timecode(sequence->duration()))));
    if (shownSequence_ != sequence->id) {
      shownSequence_ = sequence->id;
      burn_->setChecked(sequence->captionStyle.burnIn);
    }
  } else {
    sequenceLine_->setText("No sequence open");
  }
  if (p.audioOnly) {
    output_->setText(QStringLiteral("Sound only · .%1").arg(QString::fromStdString(p.fileExtension())));
  } else {
    const auto [w, h] = p.outputSize(sequence ? static_cast<int>(sequence->width) : 1920,
                                     sequence ? static_cast<int>(sequence->height) : 1080);
    output_->setText(QStringLiteral("%1 × %2 · .%3").arg(w).arg(h).arg(QString::fromStdString(p.fileExtension())));
  }
  const bool offered = reframeOffered();
  reframe_->setVisible(offered);
  reframeLabel_->setVisible(offered);
  burn_->setEnabled(!p.audioOnly);
  add_->setEnabled(sequence != nullptr);
}

std::shared_ptr<RenderJob> DeliverPage::addToQueue() {
  const BrevSequence* sequence = editor_.activeSequence();
  if (!sequence || !chooseDestination) return nullptr;
  const ExportPreset& p = preset();
  const auto file = chooseDestination(kSaveTitle, QString::fromStdString(sequence->name),
                                      QString::fromStdString(p.fileExtension()));
  if (!file) return nullptr;
  // The chooser may have been cancelled into another document; take the snapshot now.
  sequence = editor_.activeSequence();
  if (!sequence) return nullptr;
  auto job = std::make_shared<RenderJob>();
  job->name = sequence->name + " — " + p.name;
  job->preset = p;
  job->url = *file;
  job->project = editor_.project();
  job->sequence = *sequence;
  job->burnCaptions = !p.audioOnly && burn_->isChecked();
  job->reframe = reframeOffered() ? static_cast<Reframe>(reframe_->currentIndex()) : p.reframe;
  queue_->add(job);
  editor_.setStatus("Queued " + curlyQuoted(job->name));
  return job;
}

void DeliverPage::cancelJob(const Uuid& id) { queue_->cancel(id); }

void DeliverPage::clearFinished() {
  queue_->clearFinished();
  syncQueue();
}

QString DeliverPage::emptyQueueText() const {
  return QString::fromUtf8(RenderQueue::kNothingQueued.data(), static_cast<int>(RenderQueue::kNothingQueued.size()));
}

bool DeliverPage::emptyQueueShown() const { return !empty_->isHidden(); }

QString DeliverPage::rowText(const Uuid& job) const {
  const auto row = rows_.find(job);
  return row == rows_.end() ? QString() : row->second->name->text() + " · " + row->second->status->text();
}

void DeliverPage::jobChanged(const RenderJob& job) {
  syncQueue();
  if (const auto row = rows_.find(job.id); row != rows_.end()) row->second->display(job);
}

void DeliverPage::syncQueue() {
  const auto& jobs = queue_->jobs();
  // Rows of jobs that were cleared go; new jobs get a row, in queue order.
  for (auto it = rows_.begin(); it != rows_.end();) {
    const bool kept = std::any_of(jobs.begin(), jobs.end(), [&](const auto& job) { return job->id == it->first; });
    if (kept) {
      ++it;
    } else {
      delete it->second;
      it = rows_.erase(it);
    }
  }
  for (std::size_t i = 0; i < jobs.size(); ++i) {
    const RenderJob& job = *jobs[i];
    if (rows_.contains(job.id)) continue;
    auto* row = new RenderJobRow(job, empty_->parentWidget());
    rows_.emplace(job.id, row);
    // After the empty text and the rows before it; the stretch stays last.
    rowsLayout_->insertWidget(rowsLayout_->count() - 1, row);
    const Uuid id = job.id;
    connect(row->cancel, &QPushButton::clicked, this, [this, id] { cancelJob(id); });
    connect(row->reveal, &QPushButton::clicked, this, [this, folder = job.url.parent_path()] {
      if (openUrl) openUrl(QUrl::fromLocalFile(QString::fromStdString(folder.string())));
    });
  }
  empty_->setVisible(jobs.empty());
  clear_->setEnabled(std::any_of(jobs.begin(), jobs.end(), [](const auto& job) {
    return job->status != RenderJob::Status::waiting && job->status != RenderJob::Status::rendering;
  }));
}

}  // namespace brevelan
