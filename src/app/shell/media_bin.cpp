#include "app/shell/media_bin.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>

#include "app/playback/qt_services.h"
#include "app/timeline/media_drag.h"
#include "edit/editor_model.h"
#include "media/thumb_cache.h"
#include "picture/picture_image.h"

namespace brevelan {
namespace {

constexpr int kIdRole = Qt::UserRole + 1;
constexpr int kSequenceRole = Qt::UserRole + 2;  // true for a sequence of the project
const QSize kThumbSize(128, 72);
const char* kAllMedia = "All Media";

// Items drag out as our media type, so the timeline and viewers know them.
class BinList final : public QListWidget {
 public:
  using QListWidget::QListWidget;

 protected:
  QStringList mimeTypes() const override { return {kMediaMimeType}; }
  QMimeData* mimeData(const QList<QListWidgetItem*>& items) const override {
    std::vector<Uuid> ids;
    for (const QListWidgetItem* item : items)
      if (item->data(kSequenceRole).toBool()) continue;
      else if (auto id = Uuid::parse(item->data(kIdRole).toString().toStdString())) ids.push_back(*id);
    return mediaDragData(ids).release();
  }
};

QPixmap placeholderThumb(MediaKind kind) {
  QPixmap pixmap(kThumbSize);
  pixmap.fill(kind == MediaKind::audio ? QColor(34, 70, 60) : QColor(40, 44, 60));
  QPainter painter(&pixmap);
  painter.setPen(QColor(200, 200, 210));
  painter.drawText(pixmap.rect(), Qt::AlignCenter, kind == MediaKind::audio ? "♪" : "…");
  return pixmap;
}

QPixmap sequenceThumb(bool open) {
  QPixmap pixmap(kThumbSize);
  pixmap.fill(QColor(48, 40, 64));
  QPainter painter(&pixmap);
  // Three little tracks of clips.
  const QColor clips[] = {QColor(92, 112, 190), QColor(92, 112, 190), QColor(60, 150, 120)};
  for (int row = 0; row < 3; ++row)
    for (int x = 10 + row * 7; x < kThumbSize.width() - 16; x += 34)
      painter.fillRect(x, 16 + row * 16, 26, 11, clips[row]);
  if (open) {
    painter.setPen(QPen(QColor(64, 140, 255), 3));
    painter.drawRect(pixmap.rect().adjusted(1, 1, -2, -2));
  }
  return pixmap;
}

QString durationText(const MediaItem& item) {
  if (item.kind == MediaKind::image) return QStringLiteral("Picture");
  const int seconds = static_cast<int>(item.duration + 0.5);
  return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QChar('0'));
}

}  // namespace

MediaBin::MediaBin(EditorModel& editor, Importer import, QWidget* parent)
    : QWidget(parent), editor_(editor), import_(std::move(import)) {
  setAcceptDrops(true);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(4, 4, 4, 4);
  auto* row = new QHBoxLayout;
  bins_ = new QComboBox(this);
  bins_->setToolTip("Bin");
  row->addWidget(bins_, 1);
  auto* newBin = new QPushButton("+", this);
  newBin->setToolTip("New Bin");
  newBin->setFixedWidth(28);
  row->addWidget(newBin);
  layout->addLayout(row);
  filter_ = new QLineEdit(this);
  filter_->setPlaceholderText("Search");
  filter_->setClearButtonEnabled(true);
  layout->addWidget(filter_);

  list_ = new BinList(this);
  list_->setViewMode(QListView::IconMode);
  list_->setIconSize(kThumbSize);
  list_->setGridSize(QSize(kThumbSize.width() + 16, kThumbSize.height() + 40));
  list_->setResizeMode(QListView::Adjust);
  list_->setMovement(QListView::Static);
  list_->setWordWrap(true);
  list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  list_->setDragEnabled(true);
  list_->setDragDropMode(QAbstractItemView::DragOnly);
  list_->setUniformItemSizes(true);
  layout->addWidget(list_, 1);

  connect(filter_, &QLineEdit::textChanged, this, [this](const QString& text) { editor_.setBinFilter(text.toStdString()); });
  connect(bins_, &QComboBox::currentIndexChanged, this, [this] { refresh(); });
  connect(newBin, &QPushButton::clicked, this, [this] {
    bool ok = false;
    const QString name = QInputDialog::getText(this, "New Bin", "Name:", QLineEdit::Normal, "Bin", &ok).trimmed();
    if (!ok || name.isEmpty()) return;
    editor_.edit("New Bin", false, false, [&](Project& project) {
      if (std::find(project.bins.begin(), project.bins.end(), name.toStdString()) == project.bins.end())
        project.bins.push_back(name.toStdString());
    });
    bins_->setCurrentText(name);
  });
  connect(list_, &QListWidget::itemDoubleClicked, this, [this](QListWidgetItem* item) {
    const auto id = Uuid::parse(item->data(kIdRole).toString().toStdString());
    if (!id) return;
    if (item->data(kSequenceRole).toBool())
      openSequence(*id);
    else
      Q_EMIT openInSource(*id);
  });
  list_->setContextMenuPolicy(Qt::CustomContextMenu);
  connect(list_, &QListWidget::customContextMenuRequested, this, [this](const QPoint& at) {
    QListWidgetItem* item = list_->itemAt(at);
    const auto id = item ? Uuid::parse(item->data(kIdRole).toString().toStdString()) : std::nullopt;
    if (!id) return;
    QMenu menu(this);
    if (item->data(kSequenceRole).toBool()) {
      menu.addAction("Open in Timeline", this, [this, id] { openSequence(*id); });
      menu.addAction("Put in the Timeline as a Nested Clip", this, [this, id] { editor_.nestIn(*id); });
    } else {
      menu.addAction("Open in Source Viewer", this, [this, id] { Q_EMIT openInSource(*id); });
    }
    menu.exec(list_->viewport()->mapToGlobal(at));
  });
  connect(list_, &QListWidget::itemSelectionChanged, this, [this] {
    const auto items = list_->selectedItems();
    editor_.setSelectedMediaID(items.isEmpty() ? std::nullopt
                                               : Uuid::parse(items.front()->data(kIdRole).toString().toStdString()));
  });
  // Thumbnails are answered on the main thread, where the bin reads them.
  ThumbCache::shared().setDeliver(&postToMain);
  subscription_ = editor_.subscribe([this](Field field) {
    if (field == Field::project || field == Field::binFilter || field == Field::thumbsVersion) refresh();
  });
  refresh();
}

MediaBin::~MediaBin() { editor_.unsubscribe(subscription_); }

std::string MediaBin::currentBin() const {
  return bins_->currentIndex() <= 0 ? std::string() : bins_->currentText().toStdString();
}

void MediaBin::refresh() {
  const Project& project = editor_.project();
  // The bin chooser follows the project's bins.
  QStringList names{kAllMedia};
  for (const std::string& bin : project.bins) names << QString::fromStdString(bin);
  QStringList shown;
  for (int i = 0; i < bins_->count(); ++i) shown << bins_->itemText(i);
  if (shown != names) {
    const QString current = bins_->currentText();
    QSignalBlocker block(bins_);
    bins_->clear();
    bins_->addItems(names);
    bins_->setCurrentIndex(std::max(0, static_cast<int>(names.indexOf(current))));
  }

  const std::string bin = currentBin();
  const QString filter = QString::fromStdString(editor_.state().binFilter);
  QStringList selected;
  for (const QListWidgetItem* item : list_->selectedItems()) selected << item->data(kIdRole).toString();
  QSignalBlocker block(list_);
  list_->clear();
  for (const MediaItem& media : project.media) {
    if (!bin.empty() && media.bin != bin) continue;
    const QString name = QString::fromStdString(media.name);
    if (!filter.isEmpty() && !name.contains(filter, Qt::CaseInsensitive)) continue;
    const QString id = QString::fromStdString(media.id.str());
    auto* item = new QListWidgetItem(name, list_);
    item->setData(kIdRole, id);
    item->setToolTip(QStringLiteral("%1\n%2 · %3").arg(name, durationText(media), QString::fromStdString(media.path)));
    QPixmap thumb = placeholderThumb(media.kind);
    if (media.kind != MediaKind::audio) {
      if (auto picture = ThumbCache::shared().cached(media.id, 1.0))
        thumb = QPixmap::fromImage(toImage(picture).scaled(kThumbSize, Qt::KeepAspectRatio, Qt::SmoothTransformation));
      else
        requestThumb(media.id);
    }
    item->setIcon(QIcon(thumb));
    item->setSelected(selected.contains(id));
  }
  // The project's sequences follow its media: open one, or nest it.
  for (const BrevSequence& sequence : project.sequences) {
    const QString name = QString::fromStdString(sequence.name);
    if (!filter.isEmpty() && !name.contains(filter, Qt::CaseInsensitive)) continue;
    auto* item = new QListWidgetItem(name, list_);
    item->setData(kIdRole, QString::fromStdString(sequence.id.str()));
    item->setData(kSequenceRole, true);
    const bool open = sequence.id == project.activeSequenceID;
    item->setToolTip(QStringLiteral("Sequence %1 × %2, %3%4")
                         .arg(sequence.width)
                         .arg(sequence.height)
                         .arg(QString::fromStdString(sequence.rate.label()), open ? " (open)" : ""));
    item->setIcon(QIcon(sequenceThumb(open)));
  }
}

void MediaBin::openSequence(const Uuid& id) {
  editor_.edit("Open Sequence", false, true, [&](Project& project) {
    if (project.sequence(id)) project.activeSequenceID = id;
  });
}

void MediaBin::requestThumb(const Uuid& id) {
  const MediaItem* media = editor_.project().mediaItem(id);
  if (!media) return;
  // The answer arrives on the main thread; the bin redraws once for all of them.
  ThumbCache::shared().request(*media, 1.0, [bin = QPointer<MediaBin>(this)](std::shared_ptr<const Picture> picture) {
    if (bin && picture) bin->editor_.bumpThumbsVersion();
  });
}

void MediaBin::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void MediaBin::dropEvent(QDropEvent* event) {
  std::vector<std::filesystem::path> files;
  for (const QUrl& url : event->mimeData()->urls())
    if (url.isLocalFile()) files.emplace_back(url.toLocalFile().toStdString());
  if (files.empty()) return;
  event->acceptProposedAction();
  import_(files);
}

}  // namespace brevelan
