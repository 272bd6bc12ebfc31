#pragma once

#include <QAction>
#include <QLabel>
#include <QMainWindow>
#include <QProgressBar>
#include <QStackedWidget>
#include <QTabBar>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/serial_queue.h"
#include "model/uuid.h"

namespace brevelan {

class ClipInspector;
class EditorModel;
class MediaBin;
class PlaybackEngine;
class TimelineView;
class ViewerPanel;

// The questions the window asks the person: panels and confirmations. Tests
// answer them without a dialog.
struct ShellPrompts {
  enum class Discard { save, discard, cancel };
  std::function<std::optional<std::filesystem::path>()> openProject;
  std::function<std::optional<std::filesystem::path>()> saveLocation;
  std::function<std::vector<std::filesystem::path>()> mediaFiles;
  std::function<Discard(const QString& projectName)> confirmDiscard;
  std::function<void(const QString& title, const QString& message)> alert;

  // The real dialogs.
  static ShellPrompts dialogs(QWidget* parent);
};

// The editor window: menus and keys, the toolbar with the tools and the
// workspace tabs, and the EDIT workspace — bin, Source and Program viewers,
// inspector and timeline — over the one shared editor.
class MainWindow : public QMainWindow {
  Q_OBJECT
 public:
  MainWindow(EditorModel& editor, PlaybackEngine& program);
  ~MainWindow() override;

  void setPrompts(ShellPrompts prompts);
  // Runs a command of the menus by its id; false for an unknown id.
  bool runCommand(std::string_view id);
  QAction* action(std::string_view id) const;

  EditorModel& editor() { return editor_; }
  ViewerPanel& programViewer() { return *programViewer_; }
  ViewerPanel& sourceViewer() { return *sourceViewer_; }
  PlaybackEngine& sourcePlayer() { return *sourcePlayer_; }
  MediaBin& bin() { return *bin_; }
  ClipInspector& inspector() { return *inspector_; }
  TimelineView& timeline() { return *timeline_; }
  QTabBar& workspaceTabs() { return *tabs_; }
  QWidget* workspacePage(int index) const;
  QString statusText() const;

  // Replacing the document or quitting: asks to save unsaved changes first.
  // true when it is fine to go on.
  bool confirmDiscard();
  void importMedia(const std::vector<std::filesystem::path>& files);
  void showRecoverySheet();
  void showHelp();

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void buildMenus();
  void buildToolbar();
  void buildPages();
  void bindCommands();
  void onField(int field);
  void refreshTitle();
  void reportMissingMedia();
  void refreshSwitches();
  void refreshSourceViewer();
  void shuttle(int direction);
  void togglePlay();
  void setWorkspace(int index);
  void zoomTimeline(double factor);
  void openSourceMedia(const std::string& mediaID);

  EditorModel& editor_;
  PlaybackEngine& program_;
  std::unique_ptr<PlaybackEngine> sourcePlayer_;
  ShellPrompts prompts_;
  std::uint64_t subscription_ = 0;
  std::map<std::string, QAction*, std::less<>> actions_;
  std::map<std::string, std::function<void()>, std::less<>> handlers_;

  QTabBar* tabs_ = nullptr;
  QStackedWidget* pages_ = nullptr;
  MediaBin* bin_ = nullptr;
  ViewerPanel* sourceViewer_ = nullptr;
  ViewerPanel* programViewer_ = nullptr;
  ClipInspector* inspector_ = nullptr;
  TimelineView* timeline_ = nullptr;
  QLabel* status_ = nullptr;
  QLabel* busyLabel_ = nullptr;
  QProgressBar* busy_ = nullptr;
  std::optional<std::string> shownSource_;
  Uuid shownProject_;
  SerialQueue proxies_{"vael.brevelan.proxies"};
  SerialQueue sourceBuilds_{"vael.brevelan.source"};
};

}  // namespace brevelan
