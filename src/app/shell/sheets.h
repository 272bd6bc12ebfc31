#pragma once

#include <QDialog>

#include <cstdint>
#include <filesystem>

#include "model/autosave.h"

namespace brevelan {

class EditorModel;

// "Recover Unsaved Work": one row per recovery copy with Restore and Move to
// Trash, and Later to leave them all for another time.
class RecoverySheet : public QDialog {
  Q_OBJECT
 public:
  RecoverySheet(EditorModel& editor, Autosave autosave, QWidget* parent = nullptr);
  // Whether there is anything to offer.
  bool hasCopies() const { return !copies_.empty(); }

 private:
  void reload();

  EditorModel& editor_;
  Autosave autosave_;
  std::vector<PendingCopy> copies_;
};

// New Sequence: name, picture size and one of the eight frame rates; the
// new sequence opens on the timeline.
class NewSequenceSheet : public QDialog {
  Q_OBJECT
 public:
  NewSequenceSheet(EditorModel& editor, QWidget* parent = nullptr);
};

// Paste Attributes: the five groups, each on or off, then paste.
class PasteAttributesSheet : public QDialog {
  Q_OBJECT
 public:
  PasteAttributesSheet(EditorModel& editor, QWidget* parent = nullptr);
};

// Every command of the menus with its key.
class HelpViewer : public QDialog {
  Q_OBJECT
 public:
  explicit HelpViewer(QWidget* parent = nullptr);
};

}  // namespace brevelan
