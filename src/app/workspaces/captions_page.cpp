#include "app/workspaces/captions_page.h"

#include <QApplication>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFontComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "captions/caption_edits.h"
#include "captions/srt.h"
#include "captions/text_encoding.h"
#include "edit/editor_model.h"
#include "model/atomic_file.h"
#include "model/file_error.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

enum Column { kStart, kEnd, kText, kColumns };

// A caption's line breaks cannot be typed into a one-line cell, so the list
// shows them as a mark that turns back into a break when the cell is edited.
const QString kBreakMark = QStringLiteral(" ⏎ ");

QString cellText(const std::string& text) {
  return QString::fromStdString(text).replace(QLatin1Char('\n'), kBreakMark);
}

std::string captionText(const QString& cell) {
  QString text = cell;
  text.replace(kBreakMark, QStringLiteral("\n")).replace(kBreakMark.trimmed(), QStringLiteral("\n"));
  return text.toStdString();
}

QString plural(std::size_t count, const char* one, const char* many) {
  return QStringLiteral("%1 %2").arg(count).arg(count == 1 ? one : many);
}

QPushButton* button(const QString& text, const QString& tip, QWidget* parent) {
  auto* b = new QPushButton(text, parent);
  b->setToolTip(tip);
  b->setAutoDefault(false);
  return b;
}

bool defaultConfirmImport(QWidget* parent, const std::vector<std::string>& problems) {
  QMessageBox box(QMessageBox::Warning, "Import SRT",
                  QStringLiteral("This file is not valid SubRip: %1.").arg(plural(problems.size(), "problem", "problems")),
                  QMessageBox::NoButton, parent);
  // The first few are shown outright; every one is in the details.
  constexpr std::size_t kShown = 8;
  QStringList shown, all;
  for (std::size_t i = 0; i < problems.size(); ++i) {
    if (i < kShown) shown << QString::fromStdString(problems[i]);
    all << QString::fromStdString(problems[i]);
  }
  if (problems.size() > kShown) shown << QStringLiteral("… and %1 more").arg(problems.size() - kShown);
  box.setInformativeText(shown.join('\n') + "\n\nThe captions that can be read will replace the sequence's captions.");
  box.setDetailedText(all.join('\n'));
  QPushButton* anyway = box.addButton("Import Anyway", QMessageBox::AcceptRole);
  QPushButton* cancel = box.addButton(QMessageBox::Cancel);
  box.setDefaultButton(cancel);
  box.exec();
  return box.clickedButton() == anyway;
}

}  // namespace

std::optional<std::int64_t> framesOfTimecode(std::string_view text, const FrameRate& rate) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  std::vector<std::int64_t> fields;
  while (true) {
    const std::size_t colon = text.find(':');
    const std::string_view field = text.substr(0, colon);
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
    if (field.empty() || error != std::errc() || end != field.data() + field.size() || value < 0) return std::nullopt;
    fields.push_back(value);
    if (colon == std::string_view::npos) break;
    text.remove_prefix(colon + 1);
  }
  if (fields.size() > 4) return std::nullopt;
  // Frames, seconds, minutes, hours from the right.
  const std::int64_t fps = rate.nominalFPS();
  const std::int64_t units[] = {1, fps, fps * 60, fps * 3600};
  std::int64_t frames = 0;
  for (std::size_t i = 0; i < fields.size(); ++i) frames += fields[fields.size() - 1 - i] * units[i];
  return frames;
}

CaptionsPage::CaptionsPage(EditorModel& editor, QWidget* parent) : QWidget(parent), editor_(editor) {
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(10, 8, 10, 10);
  outer->setSpacing(8);

  auto* bar = new QHBoxLayout;
  heading_ = new QLabel(this);
  heading_->setStyleSheet("font-weight: bold; font-size: 12pt; color: #e0e0e4;");
  bar->addWidget(heading_);
  bar->addStretch(1);
  addButton_ = button("Add at Playhead", "A new caption at the playhead, two seconds long", this);
  importButton_ = button("Import SRT…", "Replace the sequence's captions with those of a SubRip (.srt) file", this);
  exportButton_ = button("Export Captions as SRT…", "Write the sequence's captions as a SubRip (.srt) file", this);
  bar->addWidget(addButton_);
  bar->addSpacing(12);
  bar->addWidget(importButton_);
  bar->addWidget(exportButton_);
  outer->addLayout(bar);

  auto* body = new QHBoxLayout;
  body->setSpacing(10);
  outer->addLayout(body, 1);

  auto* left = new QVBoxLayout;
  body->addLayout(left, 1);
  list_ = new QTableWidget(0, kColumns, this);
  list_->setHorizontalHeaderLabels({"Start", "End", "Text"});
  list_->verticalHeader()->setVisible(false);
  list_->verticalHeader()->setDefaultSectionSize(26);
  list_->horizontalHeader()->setSectionResizeMode(kStart, QHeaderView::ResizeToContents);
  list_->horizontalHeader()->setSectionResizeMode(kEnd, QHeaderView::ResizeToContents);
  list_->horizontalHeader()->setSectionResizeMode(kText, QHeaderView::Stretch);
  list_->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  list_->setSelectionBehavior(QAbstractItemView::SelectRows);
  list_->setSelectionMode(QAbstractItemView::SingleSelection);
  list_->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                         QAbstractItemView::AnyKeyPressed);
  list_->setAlternatingRowColors(true);
  list_->setWordWrap(false);
  left->addWidget(list_, 1);
  empty_ = new QLabel("No captions yet. Import an SRT file, or add one at the playhead.", this);
  empty_->setAlignment(Qt::AlignCenter);
  empty_->setStyleSheet("color: #8a8a92; padding: 24px;");
  left->addWidget(empty_);

  auto* detail = new QGroupBox("Selected caption", this);
  auto* detailLayout = new QVBoxLayout(detail);
  text_ = new QPlainTextEdit(detail);
  text_->setPlaceholderText("Caption text (Return starts a second line)");
  text_->setFixedHeight(64);
  text_->setTabChangesFocus(true);
  detailLayout->addWidget(text_);
  auto* moves = new QHBoxLayout;
  earlier_ = button("◀ 1 Frame", "Nudge the caption one frame earlier", detail);
  later_ = button("1 Frame ▶", "Nudge the caption one frame later", detail);
  delete_ = button("Delete", "Delete the caption", detail);
  moves->addWidget(earlier_);
  moves->addWidget(later_);
  moves->addStretch(1);
  moves->addWidget(delete_);
  detailLayout->addLayout(moves);
  left->addWidget(detail);

  auto* style = new QGroupBox("Caption style", this);
  styleBox_ = style;
  style->setFixedWidth(300);
  auto* form = new QFormLayout(style);
  form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
  font_ = new QFontComboBox(style);
  font_->setEditable(false);
  size_ = new QDoubleSpinBox(style);
  size_->setObjectName("captionSize");
  size_->setRange(8, 200);
  size_->setDecimals(0);
  size_->setSuffix(" pt");
  size_->setToolTip("Text size in points on a 1080-line picture; other sizes scale with it");
  size_->setKeyboardTracking(false);
  margin_ = new QDoubleSpinBox(style);
  margin_->setRange(0, 45);
  margin_->setDecimals(1);
  margin_->setSingleStep(0.5);
  margin_->setSuffix(" %");
  margin_->setToolTip("Space below the captions, as a share of the picture height");
  margin_->setKeyboardTracking(false);
  box_ = new QCheckBox("Dark box behind the text", style);
  burnIn_ = new QCheckBox("Burn into exports", style);
  burnIn_->setToolTip("Draw the captions into the picture of every export");
  form->addRow("Font", font_);
  form->addRow("Size", size_);
  form->addRow("Bottom margin", margin_);
  form->addRow("", box_);
  form->addRow("", burnIn_);
  auto* styleColumn = new QVBoxLayout;
  styleColumn->addWidget(style);
  styleColumn->addStretch(1);
  body->addLayout(styleColumn);

  chooseImportFile = [this]() -> std::optional<fs::path> {
    const QString file = QFileDialog::getOpenFileName(this, "Import SRT", QString(), "SubRip subtitles (*.srt);;All files (*)");
    if (file.isEmpty()) return std::nullopt;
    return fs::path(file.toStdString());
  };
  chooseExportFile = [this]() -> std::optional<fs::path> {
    const BrevSequence* sequence = editor_.activeSequence();
    const QString suggested = QString::fromStdString(sequence ? sequence->name : "Captions") + ".srt";
    QString file = QFileDialog::getSaveFileName(this, "Export Captions as SRT", suggested, "SubRip subtitles (*.srt)");
    if (file.isEmpty()) return std::nullopt;
    if (!file.endsWith(".srt", Qt::CaseInsensitive)) file += ".srt";
    return fs::path(file.toStdString());
  };
  confirmImport = [this](const std::vector<std::string>& problems) { return defaultConfirmImport(this, problems); };

  connect(importButton_, &QPushButton::clicked, this, [this] { importSRT(); });
  connect(exportButton_, &QPushButton::clicked, this, [this] { exportSRT(); });
  connect(addButton_, &QPushButton::clicked, this, [this] { addAtPlayhead(); });
  connect(earlier_, &QPushButton::clicked, this, [this] { nudgeSelected(-1); });
  connect(later_, &QPushButton::clicked, this, [this] { nudgeSelected(1); });
  connect(delete_, &QPushButton::clicked, this, [this] { deleteSelected(); });
  connect(list_, &QTableWidget::itemChanged, this, [this](QTableWidgetItem* item) {
    if (!refreshing_) cellEdited(item->row(), item->column());
  });
  connect(list_, &QTableWidget::itemSelectionChanged, this, [this] {
    if (!refreshing_) selectionMoved();
  });
  connect(text_, &QPlainTextEdit::textChanged, this, [this] {
    if (refreshing_ || !selected_) return;
    CaptionEdits::editCaption(editor_, *selected_, {.text = text_->toPlainText().toStdString()});
  });

  const auto styleEdit = [this](const char* name, bool coalesce, auto change) {
    if (refreshing_) return;
    editor_.editSeq(name, coalesce, true, [&](BrevSequence& sequence) { change(sequence.captionStyle); });
  };
  connect(font_, &QFontComboBox::currentFontChanged, this, [styleEdit](const QFont& font) {
    styleEdit("Caption Font", false, [&](CaptionStyle& s) { s.fontName = font.family().toStdString(); });
  });
  connect(size_, &QDoubleSpinBox::valueChanged, this, [styleEdit](double value) {
    styleEdit("Caption Size", true, [&](CaptionStyle& s) { s.size = value; });
  });
  connect(margin_, &QDoubleSpinBox::valueChanged, this, [styleEdit](double value) {
    styleEdit("Caption Margin", true, [&](CaptionStyle& s) { s.bottomMargin = value / 100; });
  });
  connect(box_, &QCheckBox::toggled, this, [styleEdit](bool on) {
    styleEdit("Caption Box", false, [&](CaptionStyle& s) { s.box = on; });
  });
  connect(burnIn_, &QCheckBox::toggled, this, [styleEdit](bool on) {
    styleEdit("Burn In Captions", false, [&](CaptionStyle& s) { s.burnIn = on; });
  });

  subscription_ = editor_.subscribe([this](Field field) {
    if (field == Field::project) refresh();
  });
  refresh();
}

CaptionsPage::~CaptionsPage() { editor_.unsubscribe(subscription_); }

void CaptionsPage::refresh() {
  const BrevSequence* sequence = editor_.activeSequence();
  if (!sequence) {
    heading_->setText("Captions — no sequence open");
  } else {
    heading_->setText(QStringLiteral("Captions — %1 · %2")
                          .arg(QString::fromStdString(sequence->name),
                               plural(sequence->captions.size(), "caption", "captions")));
  }
  for (QWidget* w : std::initializer_list<QWidget*>{addButton_, importButton_, list_, styleBox_})
    w->setEnabled(sequence != nullptr);
  exportButton_->setEnabled(sequence && !sequence->captions.empty());
  refreshList();
  refreshDetail();
  refreshStyle();
}

void CaptionsPage::refreshList() {
  const BrevSequence* sequence = editor_.activeSequence();
  const std::vector<Caption> captions = sequence ? sequence->captions.toVector() : std::vector<Caption>{};
  if (selected_ && std::none_of(captions.begin(), captions.end(), [&](const Caption& c) { return c.id == *selected_; }))
    selected_.reset();
  // An open cell editor would be closed by rewriting its item; it commits soon anyway.
  if (const QWidget* focus = QApplication::focusWidget(); focus && list_->viewport()->isAncestorOf(focus)) return;

  refreshing_ = true;
  list_->setRowCount(static_cast<int>(captions.size()));
  const auto set = [this](int row, int column, const QString& text, const QString& id) {
    QTableWidgetItem* item = list_->item(row, column);
    if (!item) {
      item = new QTableWidgetItem;
      if (column != kText) item->setFont(QFont("monospace"));
      list_->setItem(row, column, item);
    }
    if (item->text() != text) item->setText(text);
    item->setData(Qt::UserRole, id);
  };
  int selectedRow = -1;
  for (std::size_t i = 0; i < captions.size(); ++i) {
    const Caption& caption = captions[i];
    const int row = static_cast<int>(i);
    const QString id = QString::fromStdString(caption.id.str());
    set(row, kStart, QString::fromStdString(sequence->rate.timecode(caption.start)), id);
    set(row, kEnd, QString::fromStdString(sequence->rate.timecode(caption.end)), id);
    set(row, kText, cellText(caption.text), id);
    if (selected_ && caption.id == *selected_) selectedRow = row;
  }
  if (selectedRow >= 0) {
    if (list_->currentRow() != selectedRow) list_->setCurrentCell(selectedRow, kText);
    list_->selectRow(selectedRow);
  } else {
    list_->clearSelection();
  }
  list_->setVisible(!captions.empty());
  empty_->setVisible(captions.empty());
  refreshing_ = false;
}

void CaptionsPage::refreshDetail() {
  const BrevSequence* sequence = editor_.activeSequence();
  const Caption* caption = nullptr;
  if (sequence && selected_)
    for (const Caption& c : sequence->captions)
      if (c.id == *selected_) caption = &c;
  refreshing_ = true;
  text_->setEnabled(caption != nullptr);
  for (QPushButton* b : {earlier_, later_, delete_}) b->setEnabled(caption != nullptr);
  const QString text = caption ? QString::fromStdString(caption->text) : QString();
  // Rewriting the text the user is typing would move the cursor; only undo and
  // other panels make it differ.
  if (text_->toPlainText() != text) text_->setPlainText(text);
  refreshing_ = false;
}

void CaptionsPage::refreshStyle() {
  const BrevSequence* sequence = editor_.activeSequence();
  if (!sequence) return;
  const CaptionStyle& style = sequence->captionStyle;
  refreshing_ = true;
  const QFont wanted(QString::fromStdString(style.fontName));
  if (font_->currentFont().family() != wanted.family()) font_->setCurrentFont(wanted);
  if (std::abs(size_->value() - style.size) > 1e-9) size_->setValue(style.size);
  if (std::abs(margin_->value() - style.bottomMargin * 100) > 1e-9) margin_->setValue(style.bottomMargin * 100);
  box_->setChecked(style.box);
  burnIn_->setChecked(style.burnIn);
  refreshing_ = false;
}

void CaptionsPage::selectCaption(const Uuid& id) {
  selected_ = id;
  refreshList();
  refreshDetail();
}

void CaptionsPage::selectionMoved() {
  const QList<QTableWidgetItem*> items = list_->selectedItems();
  std::optional<Uuid> id;
  if (!items.isEmpty()) id = Uuid::parse(items.front()->data(Qt::UserRole).toString().toStdString());
  if (id == selected_) return;
  selected_ = id;
  refreshDetail();
  // Show the caption in the viewer.
  if (const BrevSequence* sequence = editor_.activeSequence(); sequence && id)
    for (const Caption& caption : sequence->captions)
      if (caption.id == *id) editor_.setPlayhead(caption.start);
}

void CaptionsPage::cellEdited(int row, int column) {
  const BrevSequence* sequence = editor_.activeSequence();
  QTableWidgetItem* item = list_->item(row, column);
  if (!sequence || !item) return;
  const auto id = Uuid::parse(item->data(Qt::UserRole).toString().toStdString());
  if (!id) return;
  CaptionEdits::CaptionChange change;
  if (column == kText) {
    change.text = captionText(item->text());
  } else {
    const auto frame = framesOfTimecode(item->text().toStdString(), sequence->rate);
    if (column == kStart) change.start = frame;
    if (column == kEnd) change.end = frame;
    if (!frame) editor_.setStatus("Type a time as HH:MM:SS:FF");
  }
  if (change.text || change.start || change.end) CaptionEdits::editCaption(editor_, *id, change);
  // Once the cell editor has closed: a refused change puts the cell back, an
  // accepted one may have moved the caption to another row.
  QMetaObject::invokeMethod(this, [this] { refreshList(); }, Qt::QueuedConnection);
}

void CaptionsPage::nudgeSelected(std::int64_t frames) {
  if (selected_) CaptionEdits::nudgeCaption(editor_, *selected_, frames);
}

void CaptionsPage::deleteSelected() {
  if (!selected_) return;
  const Uuid id = *selected_;
  CaptionEdits::deleteCaption(editor_, id);
}

void CaptionsPage::addAtPlayhead() {
  const BrevSequence* sequence = editor_.activeSequence();
  if (!sequence) return;
  const std::int64_t start = std::max<std::int64_t>(0, editor_.state().playhead);
  std::int64_t end = start + 2 * sequence->rate.nominalFPS();
  // Stop short of the next caption rather than overlap it.
  for (const Caption& caption : sequence->captions)
    if (caption.start > start) end = std::min(end, caption.start);
  Caption caption{Uuid::make(), start, std::max(end, start + 1), "New caption"};
  const Uuid id = caption.id;
  const bool added = editor_.editSeq("Add Caption", false, true, [&](BrevSequence& s) {
    s.captions.push_back(caption);
    s.captions.sortBy([](const Caption& a, const Caption& b) { return a.start < b.start; });
  });
  if (!added) return;
  selectCaption(id);
  text_->setFocus();
  text_->selectAll();
}

void CaptionsPage::importSRT() {
  if (!editor_.activeSequence() || !chooseImportFile) return;
  const auto file = chooseImportFile();
  if (!file) return;
  auto bytes = readWholeFile(*file);
  if (!bytes) {
    editor_.showAlert("Could not import the SRT file", bytes.error().message);
    return;
  }
  const std::string text = decodeSubtitleText(*bytes);
  const std::vector<std::string> problems = SRT::validate(text);
  if (!problems.empty() && !(confirmImport && confirmImport(problems))) return;
  selected_.reset();
  const std::size_t count = CaptionEdits::importSRT(editor_, text);
  editor_.setStatus(QStringLiteral("Read %1 from %2")
                        .arg(plural(count, "caption", "captions"),
                             QString::fromStdString(curlyQuoted(file->filename().string())))
                        .toStdString());
}

void CaptionsPage::exportSRT() {
  const BrevSequence* sequence = editor_.activeSequence();
  if (!sequence || !chooseExportFile) return;
  const auto file = chooseExportFile();
  if (!file) return;
  if (auto written = writeFileAtomically(*file, CaptionEdits::exportSRT(editor_)); !written) {
    editor_.showAlert("Could not export the captions", written.error().message);
    return;
  }
  editor_.setStatus(QStringLiteral("Wrote %1 to %2")
                        .arg(plural(sequence->captions.size(), "caption", "captions"),
                             QString::fromStdString(curlyQuoted(file->filename().string())))
                        .toStdString());
}

}  // namespace brevelan
