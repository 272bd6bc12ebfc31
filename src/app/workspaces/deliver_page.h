#pragma once

#include <QUrl>
#include <QWidget>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "deliver/render_queue.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QListWidget;
class QPushButton;
class QVBoxLayout;

namespace brevelan {

class EditorModel;
class RenderJobRow;

// The DELIVER workspace: the presets, reframing and burnt-in captions, and the
// render queue with its jobs' status and progress; editing goes on meanwhile.
class DeliverPage : public QWidget {
  Q_OBJECT
 public:
  DeliverPage(EditorModel& editor, QWidget* parent = nullptr);
  ~DeliverPage() override;

  // The save panel of "Add to Render Queue": its title, a suggested file name
  // and the preset's extension; nothing when the user cancels.
  using DestinationChooser = std::function<std::optional<std::filesystem::path>(
      const QString& title, const QString& suggestedName, const QString& extension)>;
  DestinationChooser chooseDestination;
  // Opens a folder in the desktop's file manager ("Show in Folder").
  std::function<void(const QUrl&)> openUrl;

  static constexpr const char* kSaveTitle = "Choose where to save, then queue it";

  // The preset chosen, by its index in allPresets().
  void choosePreset(int index);
  const ExportPreset& preset() const;
  // Whether the reframe choice applies: the preset makes a picture of another shape.
  bool reframeOffered() const;
  void setReframe(Reframe reframe);
  void setBurnCaptions(bool on);
  // "Add to Render Queue": asks where to save, then queues a snapshot of the
  // open sequence. Returns the job, or null when nothing was queued.
  std::shared_ptr<RenderJob> addToQueue();
  void cancelJob(const Uuid& id);
  void clearFinished();

  RenderQueue& queue() { return *queue_; }
  // The text shown where the queue's jobs go when there are none.
  QString emptyQueueText() const;
  bool emptyQueueShown() const;
  // Each row's text as shown: name, status.
  QString rowText(const Uuid& job) const;

 private:
  void refreshOptions();
  void syncQueue();
  void jobChanged(const RenderJob& job);

  EditorModel& editor_;
  std::uint64_t subscription_ = 0;
  std::unique_ptr<RenderQueue> queue_;
  std::map<Uuid, RenderJobRow*> rows_;
  std::optional<Uuid> shownSequence_;  // burn-in starts from each sequence's own setting

  QListWidget* presets_;
  QLabel* sequenceLine_;
  QLabel* output_;
  QLabel* reframeLabel_;
  QComboBox* reframe_;
  QCheckBox* burn_;
  QPushButton* add_;
  QPushButton* clear_;
  QLabel* empty_;
  QVBoxLayout* rowsLayout_;
};

}  // namespace brevelan
