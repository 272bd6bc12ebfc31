#pragma once

#include <QWidget>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/frame_rate.h"
#include "model/uuid.h"

class QCheckBox;
class QDoubleSpinBox;
class QFontComboBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QTableWidget;

namespace brevelan {

class EditorModel;

// A time typed into the caption list: "HH:MM:SS:FF" at the rate's nominal
// frame count, fewer fields counting from the right ("2:10" is 2 s 10 f), or a
// bare frame number. Nothing for anything else.
std::optional<std::int64_t> framesOfTimecode(std::string_view text, const FrameRate& rate);

// The CAPTIONS workspace: the sequence's captions (edit text and times, nudge,
// delete, add at the playhead), their style, and SRT import and export.
class CaptionsPage : public QWidget {
  Q_OBJECT
 public:
  CaptionsPage(EditorModel& editor, QWidget* parent = nullptr);
  ~CaptionsPage() override;

  using FileChooser = std::function<std::optional<std::filesystem::path>()>;
  // The open and save panels for SRT files; nothing when the user cancels.
  FileChooser chooseImportFile;
  FileChooser chooseExportFile;
  // Shown before importing text that is not valid SubRip: true imports anyway.
  std::function<bool(const std::vector<std::string>& problems)> confirmImport;

  // "Import SRT…": read, check, ask about problems, then replace the captions.
  void importSRT();
  // "Export Captions as SRT…".
  void exportSRT();
  // A two-second caption at the playhead, selected for typing.
  void addAtPlayhead();
  void nudgeSelected(std::int64_t frames);
  void deleteSelected();

  QTableWidget* list() const { return list_; }
  QPlainTextEdit* textField() const { return text_; }
  std::optional<Uuid> selectedCaption() const { return selected_; }
  void selectCaption(const Uuid& id);

 private:
  void refresh();
  void refreshList();
  void refreshDetail();
  void refreshStyle();
  void cellEdited(int row, int column);
  void selectionMoved();

  EditorModel& editor_;
  std::uint64_t subscription_ = 0;
  bool refreshing_ = false;
  std::optional<Uuid> selected_;

  QLabel* heading_;
  QPushButton* importButton_;
  QPushButton* exportButton_;
  QPushButton* addButton_;
  QTableWidget* list_;
  QLabel* empty_;
  QPlainTextEdit* text_;
  QPushButton* earlier_;
  QPushButton* later_;
  QPushButton* delete_;
  QFontComboBox* font_;
  QDoubleSpinBox* size_;
  QCheckBox* box_;
  QDoubleSpinBox* margin_;
  QCheckBox* burnIn_;
  QWidget* styleBox_;
};

}  // namespace brevelan
