#pragma once

#include <QDialog>
#include <QTimer>

#include <atomic>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <optional>

#include "model/expected.h"
#include "model/file_error.h"

class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;

namespace brevelan {

class EditorModel;
class MediaProber;

// The folder panel of a sheet; nothing when the user cancels.
using FolderChooser = std::function<std::optional<std::filesystem::path>(const QString& prompt)>;

// "Archive Project (Collect Media)…": a folder is chosen, the project and a
// copy of every file it uses are written into a new folder there, with
// progress, then a summary. The open project is not changed.
class ArchiveSheet : public QDialog {
  Q_OBJECT
 public:
  ArchiveSheet(EditorModel& editor, QWidget* parent = nullptr);
  ~ArchiveSheet() override;

  static constexpr const char* kPrompt =
      "Choose where to put the archive folder (the project and copies of all its media)";

  FolderChooser chooseFolder;
  // Asks for the folder and starts copying; false when none was chosen.
  bool start();
  bool running() const { return work_.valid(); }
  // The archived project file once copying has ended well.
  const std::optional<std::filesystem::path>& archived() const { return archived_; }
  QString summary() const;
  // Closing waits while files are being copied: the copy cannot be stopped half way.
  void reject() override;

 private:
  void poll();

  EditorModel& editor_;
  std::shared_ptr<std::atomic<double>> fraction_ = std::make_shared<std::atomic<double>>(0);
  std::future<Expected<std::filesystem::path, FileError>> work_;
  std::optional<std::filesystem::path> archived_;
  QTimer poller_;
  QLabel* summary_;
  QProgressBar* progress_;
  QPushButton* choose_;
  QPushButton* reveal_;
  QPushButton* close_;
};

// "Relink Missing Media…": the media whose files are missing, and a folder
// to search (with its subfolders) for files of the same names and lengths;
// what is found is relinked in one undoable edit.
class RelinkSheet : public QDialog {
  Q_OBJECT
 public:
  // `prober` reads the lengths of candidate files; the real one without it.
  RelinkSheet(EditorModel& editor, QWidget* parent = nullptr, std::shared_ptr<const MediaProber> prober = nullptr);
  ~RelinkSheet() override;

  FolderChooser chooseFolder;
  // Asks for a folder and relinks what it holds; false when none was chosen
  // or nothing is missing.
  bool search();
  QListWidget* missingList() const { return list_; }
  QString summary() const;

 private:
  void refresh();

  EditorModel& editor_;
  std::shared_ptr<const MediaProber> prober_;
  QLabel* prompt_;
  QListWidget* list_;
  QLabel* summary_;
  QPushButton* choose_;
};

}  // namespace brevelan
