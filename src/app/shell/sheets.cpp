#include "app/shell/sheets.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QTableWidget>
#include <QVBoxLayout>

#include <array>

#include "app/shell/brev_commands.h"
#include "edit/editor_model.h"
#include "model/frame_rate.h"

namespace brevelan {

RecoverySheet::RecoverySheet(EditorModel& editor, Autosave autosave, QWidget* parent)
    : QDialog(parent), editor_(editor), autosave_(std::move(autosave)) {
  setWindowTitle("Recover Unsaved Work");
  setMinimumWidth(520);
  reload();
}

void RecoverySheet::reload() {
  copies_ = autosave_.pending();
  delete layout();
  // Reloads run queued, never inside a row's own button handler, so the old
  // rows can go at once.
  for (QWidget* child : findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) delete child;

  auto* layout = new QVBoxLayout(this);
  auto* heading = new QLabel("<b>Recover Unsaved Work</b>", this);
  layout->addWidget(heading);
  auto* text = new QLabel(
      "Vael Brevelan did not close normally last time. These projects have changes that were saved automatically:", this);
  text->setWordWrap(true);
  layout->addWidget(text);
  for (const PendingCopy& copy : copies_) {
    auto* row = new QHBoxLayout;
    const QDateTime saved = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(copy.record.saved.unixSeconds() * 1000));
    auto* label = new QLabel(QStringLiteral("<b>%1</b><br>Autosaved %2")
                                 .arg(QString::fromStdString(copy.record.project.name).toHtmlEscaped(),
                                      QLocale().toString(saved, QLocale::ShortFormat)),
                             this);
    row->addWidget(label, 1);
    auto* restore = new QPushButton("Restore", this);
    auto* trash = new QPushButton("Move to Trash", this);
    row->addWidget(restore);
    row->addWidget(trash);
    layout->addLayout(row);
    const PendingCopy chosen = copy;
    connect(restore, &QPushButton::clicked, this, [this, chosen] {
      std::optional<std::filesystem::path> original;
      if (chosen.record.originalPath) original = *chosen.record.originalPath;
      editor_.recover(chosen.record.project, original);
      accept();
    });
    connect(trash, &QPushButton::clicked, this, [this, chosen] {
      if (auto moved = autosave_.trash(chosen.location); !moved)
        QMessageBox::warning(this, "Could not move to the Trash", QString::fromStdString(moved.error().message));
      QMetaObject::invokeMethod(this, [this] { reload(); }, Qt::QueuedConnection);
    });
  }
  if (copies_.empty()) layout->addWidget(new QLabel("Nothing left to recover.", this));
  auto* buttons = new QDialogButtonBox(this);
  buttons->addButton("Later", QDialogButtonBox::RejectRole);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  layout->addWidget(buttons);
}

NewSequenceSheet::NewSequenceSheet(EditorModel& editor, QWidget* parent) : QDialog(parent) {
  setWindowTitle("New Sequence");
  auto* form = new QFormLayout(this);
  const std::size_t count = editor.project().sequences.size();
  auto* name = new QLineEdit(QStringLiteral("Sequence %1").arg(count + 1), this);
  auto* size = new QComboBox(this);
  const std::array<std::pair<int, int>, 5> sizes{{{1920, 1080}, {3840, 2160}, {1280, 720}, {1080, 1920}, {1080, 1080}}};
  for (const auto& [w, h] : sizes) size->addItem(QStringLiteral("%1 × %2").arg(w).arg(h));
  auto* rate = new QComboBox(this);
  for (const FrameRate& r : FrameRate::all()) rate->addItem(QString::fromStdString(r.label()));
  rate->setCurrentIndex(4);  // 30 fps
  form->addRow("Name", name);
  form->addRow("Size", size);
  form->addRow("Frame rate", rate);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  buttons->button(QDialogButtonBox::Ok)->setText("Create");
  form->addRow(buttons);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::accepted, this, [this, &editor, name, size, rate, sizes] {
    const auto [w, h] = sizes[static_cast<std::size_t>(size->currentIndex())];
    BrevSequence sequence = BrevSequence::make(name->text().trimmed().isEmpty() ? "Sequence" : name->text().toStdString(),
                                               w, h, FrameRate::all()[static_cast<std::size_t>(rate->currentIndex())]);
    editor.edit("New Sequence", false, true, [&](Project& project) {
      project.sequences.push_back(sequence);
      project.activeSequenceID = sequence.id;
    });
    accept();
  });
}

PasteAttributesSheet::PasteAttributesSheet(EditorModel& editor, QWidget* parent) : QDialog(parent) {
  setWindowTitle("Paste Attributes");
  auto* layout = new QVBoxLayout(this);
  const std::array<std::pair<std::uint32_t, const char*>, 5> groups{{{PasteGroups::transform, "Position / Crop / Ken Burns"},
                                                                     {PasteGroups::grade, "Color Grade"},
                                                                     {PasteGroups::sound, "Sound Settings"},
                                                                     {PasteGroups::speed, "Speed"},
                                                                     {PasteGroups::transition, "Transition"}}};
  std::vector<std::pair<std::uint32_t, QCheckBox*>> boxes;
  for (const auto& [flag, label] : groups) {
    auto* box = new QCheckBox(label, this);
    box->setChecked(editor.state().pasteWhat & flag);
    layout->addWidget(box);
    boxes.emplace_back(flag, box);
  }
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  buttons->button(QDialogButtonBox::Ok)->setText("Paste");
  layout->addWidget(buttons);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::accepted, this, [this, &editor, boxes] {
    std::uint32_t what = 0;
    for (const auto& [flag, box] : boxes)
      if (box->isChecked()) what |= flag;
    editor.setPasteWhat(what);
    editor.pasteAttributes();
    accept();
  });
}

HelpViewer::HelpViewer(QWidget* parent) : QDialog(parent) {
  setWindowTitle("Keyboard Commands");
  resize(560, 640);
  auto* layout = new QVBoxLayout(this);
  auto* table = new QTableWidget(static_cast<int>(brevCommands().size()), 3, this);
  table->setHorizontalHeaderLabels({"Menu", "Command", "Key"});
  table->verticalHeader()->hide();
  table->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table->setSelectionBehavior(QAbstractItemView::SelectRows);
  int row = 0;
  for (const BrevCommand& command : brevCommands()) {
    table->setItem(row, 0, new QTableWidgetItem(QString::fromUtf8(command.menu.data(), command.menu.size())));
    table->setItem(row, 1, new QTableWidgetItem(QString::fromUtf8(command.title.data(), command.title.size())));
    table->setItem(row, 2, new QTableWidgetItem(command.key.toString(QKeySequence::NativeText)));
    ++row;
  }
  table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
  table->resizeColumnToContents(0);
  layout->addWidget(table);
  auto* close = new QDialogButtonBox(QDialogButtonBox::Close, this);
  connect(close, &QDialogButtonBox::rejected, this, &QDialog::reject);
  layout->addWidget(close);
}

}  // namespace brevelan
