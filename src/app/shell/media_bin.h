#pragma once

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QWidget>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

#include "model/uuid.h"

namespace brevelan {

class EditorModel;

// The media bin: a bin chooser, a search filter and the items as thumbnails.
// Files dropped on it are imported; items drag to the timeline; a
// double-click opens an item in the Source viewer.
class MediaBin : public QWidget {
  Q_OBJECT
 public:
  using Importer = std::function<void(const std::vector<std::filesystem::path>&)>;

  MediaBin(EditorModel& editor, Importer import, QWidget* parent = nullptr);
  ~MediaBin() override;

  // The bin new imports land in ("" for the top level).
  std::string currentBin() const;
  QListWidget& list() { return *list_; }
  void refresh();

 Q_SIGNALS:
  void openInSource(brevelan::Uuid media);

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void requestThumb(const Uuid& id);
  void openSequence(const Uuid& id);

  EditorModel& editor_;
  Importer import_;
  QComboBox* bins_;
  QLineEdit* filter_;
  QListWidget* list_;
  std::uint64_t subscription_ = 0;
};

}  // namespace brevelan
