#include "app/workspaces/safekeeping_sheets.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

#include "edit/editor_model.h"
#include "edit/relink.h"
#include "media/media_probe.h"
#include "model/archiver.h"
#include "model/project_file.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

FolderChooser defaultFolderChooser(QWidget* parent) {
  return [parent](const QString& prompt) -> std::optional<fs::path> {
    const QString folder = QFileDialog::getExistingDirectory(parent, prompt);
    if (folder.isEmpty()) return std::nullopt;
    return fs::path(folder.toStdString());
  };
}

QString mediaFiles(std::size_t count) {
  return QStringLiteral("%1 %2").arg(count).arg(count == 1 ? "media file" : "media files");
}

QLabel* wrapped(const QString& text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setWordWrap(true);
  return label;
}

}  // namespace

ArchiveSheet::ArchiveSheet(EditorModel& editor, QWidget* parent) : QDialog(parent), editor_(editor) {
  setWindowTitle("Archive Project (Collect Media)");
  setMinimumWidth(520);
  auto* layout = new QVBoxLayout(this);
  layout->setSpacing(10);
  const Project& project = editor_.project();
  auto* intro = wrapped(QStringLiteral("Copies “%1” and its %2 into one new folder, ready to back up or move to "
                                       "another computer. The open project stays as it is.")
                            .arg(QString::fromStdString(project.name), mediaFiles(project.media.size())),
                        this);
  layout->addWidget(intro);
  progress_ = new QProgressBar(this);
  progress_->setRange(0, 1000);
  progress_->setValue(0);
  progress_->setTextVisible(false);
  progress_->setVisible(false);
  layout->addWidget(progress_);
  summary_ = wrapped("", this);
  summary_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  layout->addWidget(summary_);
  auto* buttons = new QHBoxLayout;
  reveal_ = new QPushButton("Show in Folder", this);
  reveal_->setVisible(false);
  buttons->addWidget(reveal_);
  buttons->addStretch(1);
  close_ = new QPushButton("Cancel", this);
  choose_ = new QPushButton("Choose Folder…", this);
  choose_->setDefault(true);
  buttons->addWidget(close_);
  buttons->addWidget(choose_);
  layout->addLayout(buttons);

  chooseFolder = defaultFolderChooser(this);
  connect(choose_, &QPushButton::clicked, this, [this] { start(); });
  connect(close_, &QPushButton::clicked, this, [this] { archived_ ? accept() : reject(); });
  connect(reveal_, &QPushButton::clicked, this, [this] {
    if (archived_) QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(archived_->parent_path().string())));
  });
  poller_.setInterval(50);
  connect(&poller_, &QTimer::timeout, this, [this] { poll(); });
}

ArchiveSheet::~ArchiveSheet() {
  // Copying cannot be interrupted; the future's end waits for it.
  if (work_.valid()) work_.wait();
}

bool ArchiveSheet::start() {
  if (running() || !chooseFolder) return false;
  const auto parent = chooseFolder(kPrompt);
  if (!parent) return false;
  fraction_->store(0);
  archived_.reset();
  work_ = std::async(std::launch::async, [project = editor_.project(), parent = *parent, fraction = fraction_] {
    return Archiver::collect(project, parent, [fraction](double done) { fraction->store(done); });
  });
  progress_->setValue(0);
  progress_->setVisible(true);
  summary_->setStyleSheet("");
  summary_->setText(QStringLiteral("Copying into “%1”…").arg(QString::fromStdString(parent->string())));
  choose_->setEnabled(false);
  close_->setEnabled(false);
  reveal_->setVisible(false);
  editor_.setBusy("Archiving");
  poller_.start();
  return true;
}

void ArchiveSheet::poll() {
  progress_->setValue(static_cast<int>(fraction_->load() * 1000));
  editor_.setBusyProgress(fraction_->load());
  if (!work_.valid() || work_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return;
  poller_.stop();
  auto result = work_.get();
  editor_.setBusy(std::nullopt);
  choose_->setEnabled(true);
  close_->setEnabled(true);
  if (!result) {
    progress_->setVisible(false);
    summary_->setStyleSheet("color: #ff7a6e;");
    summary_->setText("The archive could not be made. " + QString::fromStdString(result.error().message));
    close_->setText("Close");
    return;
  }
  archived_ = *result;
  progress_->setValue(1000);
  const Project& project = editor_.project();
  summary_->setText(QStringLiteral("Archived the project and %1 into “%2”.")
                        .arg(mediaFiles(project.media.size()),
                             QString::fromStdString(archived_->parent_path().string())));
  choose_->setVisible(false);
  close_->setText("Done");
  close_->setDefault(true);
  reveal_->setVisible(true);
  editor_.setStatus("Archived to " + curlyQuoted(archived_->parent_path().filename().string()));
}

QString ArchiveSheet::summary() const { return summary_->text(); }

void ArchiveSheet::reject() {
  if (!running()) QDialog::reject();
}

RelinkSheet::RelinkSheet(EditorModel& editor, QWidget* parent, std::shared_ptr<const MediaProber> prober)
    : QDialog(parent), editor_(editor), prober_(prober ? std::move(prober) : std::make_shared<MediaProbe>()) {
  setWindowTitle("Relink Missing Media");
  setMinimumSize(560, 360);
  auto* layout = new QVBoxLayout(this);
  layout->setSpacing(10);
  prompt_ = wrapped("", this);
  layout->addWidget(prompt_);
  list_ = new QListWidget(this);
  list_->setSelectionMode(QAbstractItemView::NoSelection);
  layout->addWidget(list_, 1);
  summary_ = wrapped("", this);
  layout->addWidget(summary_);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  auto* close = new QPushButton("Close", this);
  choose_ = new QPushButton("Choose Folder…", this);
  choose_->setDefault(true);
  buttons->addWidget(close);
  buttons->addWidget(choose_);
  layout->addLayout(buttons);

  chooseFolder = defaultFolderChooser(this);
  connect(close, &QPushButton::clicked, this, &QDialog::accept);
  connect(choose_, &QPushButton::clicked, this, [this] { search(); });
  refresh();
}

RelinkSheet::~RelinkSheet() = default;

void RelinkSheet::refresh() {
  const std::vector<MediaItem> missing = ProjectFile::missingMedia(editor_.project());
  list_->clear();
  for (const MediaItem& item : missing) {
    auto* row = new QListWidgetItem(QStringLiteral("%1\n%2").arg(QString::fromStdString(item.name),
                                                                QString::fromStdString(item.path)),
                                    list_);
    row->setToolTip(QString::fromStdString(item.path));
  }
  if (missing.empty()) {
    prompt_->setText("Nothing to relink. Every media file in this project is where Brevelan expects it.");
  } else {
    prompt_->setText(QString::fromStdString(Relinker::folderPrompt(missing.size())) + ".");
  }
  list_->setVisible(!missing.empty());
  choose_->setEnabled(!missing.empty());
}

bool RelinkSheet::search() {
  const std::vector<MediaItem> missing = ProjectFile::missingMedia(editor_.project());
  if (missing.empty() || !chooseFolder) return false;
  const auto folder = chooseFolder(QString::fromStdString(Relinker::folderPrompt(missing.size())));
  if (!folder) return false;
  QApplication::setOverrideCursor(Qt::WaitCursor);
  const RelinkOutcome outcome = relink(editor_, *folder, *prober_);
  QApplication::restoreOverrideCursor();
  summary_->setText(QString::fromStdString(outcome.kind == RelinkOutcome::Kind::relinked
                                               ? outcome.title + "."
                                               : outcome.title + ". " + outcome.message));
  refresh();
  return true;
}

QString RelinkSheet::summary() const { return summary_->text(); }

}  // namespace brevelan
