#include "app/shell/main_window.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSplitter>
#include <QStatusBar>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <cmath>

#include "app/playback/playback_engine.h"
#include "app/playback/source_preview.h"
#include "app/shell/brev_commands.h"
#include "app/shell/clip_inspector.h"
#include "app/shell/dark_theme.h"
#include "app/shell/media_bin.h"
#include "app/playback/qt_services.h"
#include "app/shell/sheets.h"
#include "app/shell/viewer_panel.h"
#include "app/timeline/timeline_view.h"
#include "app/workspaces/audio_page.h"
#include "app/workspaces/captions_page.h"
#include "app/workspaces/color_page.h"
#include "app/workspaces/deliver_page.h"
#include "app/workspaces/safekeeping_sheets.h"
#include "edit/editor_model.h"
#include "edit/media_import.h"
#include "media/derived_makers.h"
#include "media/media_probe.h"
#include "model/autosave.h"
#include "picture/composition_builder.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

QString qtext(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

constexpr std::array<Tool, 7> kTools{Tool::select, Tool::blade, Tool::ripple, Tool::roll,
                                     Tool::slip,   Tool::slide, Tool::trim};
constexpr std::array<const char*, 7> kToolCommands{"toolSelect", "toolBlade", "toolRipple", "toolRoll",
                                                   "toolSlip",   "toolSlide", "toolTrim"};
constexpr std::array<const char*, 5> kWorkspaceCommands{"workspaceEdit", "workspaceColor", "workspaceAudio",
                                                        "workspaceCaptions", "workspaceDeliver"};
constexpr float kMaxShuttle = 8;


const QString kProjectFilter = "Vael Brevelan projects (*.brevelan)";

}  // namespace

ShellPrompts ShellPrompts::dialogs(QWidget* parent) {
  ShellPrompts prompts;
  prompts.openProject = [parent]() -> std::optional<fs::path> {
    const QString file = QFileDialog::getOpenFileName(parent, "Open Project", QString(), kProjectFilter);
    if (file.isEmpty()) return std::nullopt;
    return fs::path(file.toStdString());
  };
  prompts.saveLocation = [parent]() -> std::optional<fs::path> {
    QString file = QFileDialog::getSaveFileName(parent, "Save Project", "Untitled.brevelan", kProjectFilter);
    if (file.isEmpty()) return std::nullopt;
    if (!file.endsWith(".brevelan")) file += ".brevelan";
    return fs::path(file.toStdString());
  };
  prompts.mediaFiles = [parent] {
    std::vector<fs::path> files;
    for (const QString& file : QFileDialog::getOpenFileNames(
             parent, "Import Media", QString(),
             "Media (*.mov *.mp4 *.m4v *.mkv *.webm *.avi *.mts *.wav *.aif *.aiff *.mp3 *.m4a *.flac *.caf *.png "
             "*.jpg *.jpeg *.heic *.tif *.tiff *.bmp);;All files (*)"))
      files.emplace_back(file.toStdString());
    return files;
  };
  prompts.confirmDiscard = [parent](const QString& name) {
    QMessageBox box(QMessageBox::Warning, "Unsaved Changes",
                    QStringLiteral("Do you want to save the changes you made to “%1”?").arg(name), QMessageBox::NoButton,
                    parent);
    box.setInformativeText("Your changes will be lost if you don't save them.");
    QPushButton* save = box.addButton("Save", QMessageBox::AcceptRole);
    QPushButton* discard = box.addButton("Don't Save", QMessageBox::DestructiveRole);
    box.addButton(QMessageBox::Cancel);
    box.setDefaultButton(save);
    box.exec();
    if (box.clickedButton() == save) return Discard::save;
    if (box.clickedButton() == discard) return Discard::discard;
    return Discard::cancel;
  };
  prompts.alert = [parent](const QString& title, const QString& message) {
    QMessageBox box(QMessageBox::Warning, title, title, QMessageBox::Ok, parent);
    box.setInformativeText(message);
    box.exec();
  };
  return prompts;
}

MainWindow::MainWindow(EditorModel& editor, PlaybackEngine& program)
    : editor_(editor), program_(program), sourcePlayer_(std::make_unique<PlaybackEngine>()) {
  prompts_ = ShellPrompts::dialogs(this);
  resize(1600, 1000);
  setMinimumSize(960, 600);
  buildPages();
  buildToolbar();
  bindCommands();
  buildMenus();

  status_ = new QLabel(this);
  statusBar()->addWidget(status_, 1);
  busyLabel_ = new QLabel(this);
  busy_ = new QProgressBar(this);
  busy_->setRange(0, 1000);
  busy_->setFixedWidth(200);
  statusBar()->addPermanentWidget(busyLabel_);
  statusBar()->addPermanentWidget(busy_);
  busyLabel_->hide();
  busy_->hide();

  // The program player reports where it is; the editor keeps the playhead.
  connect(&program_, &PlaybackEngine::frameShown, this,
          [this](const QImage& picture, qint64) { programViewer_->view().setPicture(picture); });
  connect(&program_, &PlaybackEngine::positionChanged, this, [this](qint64 frame) { editor_.playheadReported(frame); });
  connect(&program_, &PlaybackEngine::reachedEnd, this, [this] {
    editor_.setPlayRate(0);
    programViewer_->setPlaying(false);
  });
  connect(&program_, &PlaybackEngine::soundUnavailable, this,
          [this](const QString& message) { editor_.setStatus(message.toStdString()); });
  // Meters after each track's fader, for the mixer's strips.
  connect(&program_, &PlaybackEngine::metersChanged, this, [this](const Meters& meters) {
    const BrevSequence* sequence = editor_.activeSequence();
    if (!sequence) return;
    std::map<Uuid, StereoLevel> levels;
    for (std::size_t i = 0; i < meters.tracks.size() && i < sequence->audio.size(); ++i)
      levels[sequence->audio[i].id] = StereoLevel{meters.tracks[i].left, meters.tracks[i].right};
    editor_.setMeters(std::move(levels));
    editor_.setMasterMeter(StereoLevel{meters.master.left, meters.master.right});
  });
  connect(sourcePlayer_.get(), &PlaybackEngine::frameShown, this,
          [this](const QImage& picture, qint64) { sourceViewer_->view().setPicture(picture); });
  connect(sourcePlayer_.get(), &PlaybackEngine::positionChanged, this,
          [this](qint64 frame) { editor_.setSourcePlayhead(frame); });
  connect(sourcePlayer_.get(), &PlaybackEngine::reachedEnd, this, [this] { sourceViewer_->setPlaying(false); });

  subscription_ = editor_.subscribe([this](Field field) { onField(static_cast<int>(field)); });
  for (int field = 0; field <= static_cast<int>(Field::pasteWhat); ++field) onField(field);
}

MainWindow::~MainWindow() {
  editor_.unsubscribe(subscription_);
  proxies_.waitIdle();
}

void MainWindow::setPrompts(ShellPrompts prompts) { prompts_ = std::move(prompts); }

QAction* MainWindow::action(std::string_view id) const {
  const auto it = actions_.find(id);
  return it == actions_.end() ? nullptr : it->second;
}

bool MainWindow::runCommand(std::string_view id) {
  const auto it = handlers_.find(id);
  if (it == handlers_.end()) return false;
  it->second();
  return true;
}

QWidget* MainWindow::workspacePage(int index) const { return pages_->widget(index); }

QString MainWindow::statusText() const { return status_->text(); }

// ---------------------------------------------------------------- layout

void MainWindow::buildPages() {
  auto* central = new QWidget(this);
  auto* layout = new QVBoxLayout(central);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);

  tabs_ = new QTabBar(central);
  for (const auto& [workspace, label] : EnumTexts<Workspace>::items) tabs_->addTab(qtext(label));
  tabs_->setExpanding(false);
  tabs_->setDrawBase(false);
  tabs_->setFocusPolicy(Qt::NoFocus);
  tabs_->setStyleSheet(
      "QTabBar::tab { padding: 6px 18px; font-weight: bold; letter-spacing: 1px; color: #8a8a92; }"
      "QTabBar::tab:selected { color: #ffffff; border-bottom: 2px solid #408cff; }");
  auto* tabRow = new QHBoxLayout;
  tabRow->addStretch(1);
  tabRow->addWidget(tabs_);
  tabRow->addStretch(1);
  layout->addLayout(tabRow);

  pages_ = new QStackedWidget(central);
  layout->addWidget(pages_, 1);

  // EDIT: bin | source | program | inspector over the timeline.
  auto* edit = new QSplitter(Qt::Vertical, pages_);
  auto* top = new QSplitter(Qt::Horizontal, edit);
  bin_ = new MediaBin(editor_, [this](const std::vector<fs::path>& files) { importMedia(files); }, top);
  sourceViewer_ = new ViewerPanel("Source", top);
  programViewer_ = new ViewerPanel("Program", top);
  inspector_ = new ClipInspector(editor_, top);
  top->addWidget(bin_);
  top->addWidget(sourceViewer_);
  top->addWidget(programViewer_);
  top->addWidget(inspector_);
  top->setSizes({300, 480, 480, 300});
  timeline_ = new TimelineView(editor_, edit);
  edit->addWidget(top);
  edit->addWidget(timeline_);
  edit->setSizes({560, 440});
  pages_->addWidget(edit);

  pages_->addWidget(new ColorPage(editor_, program_, pages_));
  pages_->addWidget(new AudioPage(editor_, program_, pages_));
  pages_->addWidget(new CaptionsPage(editor_, pages_));
  pages_->addWidget(new DeliverPage(editor_, pages_));
  connect(tabs_, &QTabBar::currentChanged, this, [this](int index) { setWorkspace(index); });
  setCentralWidget(central);

  sourceViewer_->view().setPlaceholder("Double-click an item in the bin to open it here.");
  programViewer_->view().setPlaceholder("The timeline plays here.");
  connect(bin_, &MediaBin::openInSource, this, [this](const Uuid& id) { editor_.setSourceMediaID(id); });

  const auto wireViewer = [this](ViewerPanel* viewer, ViewerFocus focus) {
    connect(viewer, &ViewerPanel::focused, this, [this, focus] { editor_.setFocus(focus); });
    connect(viewer, &ViewerPanel::playPressed, this, [this, focus] {
      editor_.setFocus(focus);
      togglePlay();
    });
    connect(viewer, &ViewerPanel::stepPressed, this, [this, focus](int frames) {
      editor_.setFocus(focus);
      editor_.step(frames);
    });
    connect(viewer, &ViewerPanel::jumpPressed, this, [this, focus](bool toEnd) {
      editor_.setFocus(focus);
      runCommand(toEnd ? "gotoEnd" : "gotoStart");
    });
    connect(viewer, &ViewerPanel::markInPressed, this, [this, focus] {
      editor_.setFocus(focus);
      editor_.markInPoint();
    });
    connect(viewer, &ViewerPanel::markOutPressed, this, [this, focus] {
      editor_.setFocus(focus);
      editor_.markOutPoint();
    });
  };
  wireViewer(sourceViewer_, ViewerFocus::source);
  wireViewer(programViewer_, ViewerFocus::program);
}

void MainWindow::buildToolbar() {
  auto* bar = addToolBar("Tools");
  bar->setObjectName("tools");
  bar->setMovable(false);
  bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
  auto* group = new QActionGroup(this);
  for (std::size_t i = 0; i < kTools.size(); ++i) {
    const BrevCommand* command = commandByID(kToolCommands[i]);
    auto* act = new QAction(qtext(command->title), this);
    act->setCheckable(true);
    act->setShortcut(command->key);
    act->setToolTip(qtext(toolDescription(kTools[i])));
    group->addAction(act);
    bar->addAction(act);
    actions_.emplace(command->id, act);
  }
  bar->addSeparator();
  for (const char* id : {"snapping", "linkedSelection"}) {
    const BrevCommand* command = commandByID(id);
    auto* act = new QAction(qtext(command->title), this);
    act->setCheckable(true);
    act->setShortcut(command->key);
    act->setToolTip(QStringLiteral("%1 (%2)").arg(qtext(command->title), command->key.toString(QKeySequence::NativeText)));
    bar->addAction(act);
    actions_.emplace(command->id, act);
  }
}

void MainWindow::buildMenus() {
  std::map<std::string_view, QMenu*> menus;
  for (std::string_view name : commandMenus()) menus[name] = menuBar()->addMenu(qtext(name));
  QMenu* zoomMenu = nullptr;
  for (const BrevCommand& command : brevCommands()) {
    QAction* act = action(command.id);
    if (!act) {
      act = new QAction(qtext(command.title), this);
      act->setShortcut(command.key);
      act->setCheckable(command.checkable);
      actions_.emplace(command.id, act);
    }
    if (command.id == "delete") act->setShortcuts({command.key, QKeySequence(QKeySequence::Delete)});
    // Shortcuts work in every workspace, also while a viewer or the timeline has focus.
    act->setShortcutContext(Qt::WindowShortcut);
    addAction(act);
    QMenu* menu = menus[command.menu];
    if (command.id == "toolSelect" || command.id == "snapping" || command.id == "workspaceEdit" ||
        command.id == "help" || command.id == "blade" || command.id == "markIn" || command.id == "playPause")
      ;  // first of a group: no separator
    else if (command.id == "cut" || command.id == "delete" || command.id == "selectAll" || command.id == "bladeMarkers" ||
             command.id == "insert" || command.id == "lift" || command.id == "nest" || command.id == "crossfade" ||
             command.id == "addMarker" || command.id == "previousEdit" || command.id == "previousFrame" ||
             command.id == "gotoStart" || command.id == "zoomIn" || command.id == "interfaceBigger" ||
             command.id == "useProxies" || command.id == "quit" ||
             command.id == "recover" || command.id == "markBeats" || command.id == "transcribe")
      menu->addSeparator();
    if (command.id == "workspaceEdit") {
      menu->addSeparator();
      zoomMenu = menu->addMenu("Interface Zoom");
      for (int percent : kZoomSteps) {
        QAction* step = zoomMenu->addAction(QStringLiteral("%1 %").arg(percent));
        connect(step, &QAction::triggered, this, [percent] { setInterfaceZoom(*qApp, percent); });
      }
      menu->addSeparator();
    }
    menu->addAction(act);
    const std::string id(command.id);
    connect(act, &QAction::triggered, this, [this, id] { runCommand(id); });
  }
}

// ---------------------------------------------------------------- commands

void MainWindow::bindCommands() {
  auto& h = handlers_;
  EditorModel& e = editor_;
  h["newProject"] = [this] {
    if (confirmDiscard()) editor_.newProject();
  };
  h["open"] = [this] {
    if (!confirmDiscard()) return;
    if (auto file = prompts_.openProject()) (void)editor_.open(*file);
  };
  h["save"] = [this] { (void)editor_.save(prompts_.saveLocation); };
  h["saveAs"] = [this] { (void)editor_.saveAs(prompts_.saveLocation); };
  h["importMedia"] = [this] {
    const auto files = prompts_.mediaFiles();
    if (!files.empty()) importMedia(files);
  };
  h["newSequence"] = [this] { NewSequenceSheet(editor_, this).exec(); };
  h["recover"] = [this] { showRecoverySheet(); };
  h["archive"] = [this] { ArchiveSheet(editor_, this).exec(); };
  h["relink"] = [this] { RelinkSheet(editor_, this).exec(); };
  h["quit"] = [this] { close(); };

  h["undo"] = [&e] { e.undo(); };
  h["redo"] = [&e] { e.redo(); };
  h["cut"] = [&e] {
    e.copySelection();
    e.deleteSelection(false);
  };
  h["copy"] = [&e] { e.copySelection(); };
  h["paste"] = [&e] { e.paste(); };
  h["pasteAttributes"] = [this] {
    if (!editor_.attributeSource()) {
      editor_.showAlert("Nothing to paste", "Select a clip and choose Edit ▸ Copy first.");
      return;
    }
    PasteAttributesSheet(editor_, this).exec();
  };
  h["delete"] = [&e] { e.deleteSelection(false); };
  h["rippleDelete"] = [&e] { e.deleteSelection(true); };
  h["selectAll"] = [&e] {
    std::set<Uuid> all;
    if (const BrevSequence* sequence = e.activeSequence())
      for (const auto* tracks : {&sequence->video, &sequence->audio})
        for (const Track& track : *tracks)
          for (const Clip& clip : track.clips) all.insert(clip.id);
    e.setSelection(std::move(all));
  };
  h["deselect"] = [&e] { e.clearSelection(); };

  for (std::size_t i = 0; i < kTools.size(); ++i) h[kToolCommands[i]] = [&e, tool = kTools[i]] { e.setTool(tool); };
  h["snapping"] = [&e] { e.setSnapping(!e.state().snapping); };
  h["linkedSelection"] = [&e] { e.setLinkedSelection(!e.state().linkedSelection); };

  h["blade"] = [&e] { e.bladeAtPlayhead(); };
  h["bladeMarkers"] = [&e] { e.bladeAtMarkers(); };
  h["insert"] = [&e] { e.insertEdit(); };
  h["overwrite"] = [&e] { e.overwriteEdit(); };
  h["append"] = [&e] { e.appendEdit(); };
  h["lift"] = [&e] { e.liftMarkedRange(); };
  h["extract"] = [&e] { e.extractMarkedRange(); };
  h["closeGap"] = [&e] { e.closeGapAtPlayhead(); };
  h["nest"] = [&e] { e.nestSelection(); };
  h["freeze"] = [&e] { e.freezeFrame(); };
  h["link"] = [&e] { e.linkSelection(); };
  h["unlink"] = [&e] { e.unlinkSelection(); };
  h["jCut"] = [&e] { e.splitEdit(true); };
  h["lCut"] = [&e] { e.splitEdit(false); };
  h["crossfade"] = [&e] {
    // On the cut at the head of the selected clip, a second long.
    for (const Uuid& id : e.state().selection) {
      const BrevSequence* sequence = e.activeSequence();
      if (!sequence) return;
      const std::int64_t frames = sequence->rate.frames(1.0);
      if (e.addTransition(id, Transition{TransitionKind::crossfade, frames, RGBA::black(), Direction::left})) return;
    }
    e.showAlert("Can't add a transition", "Select the clip after a cut, then choose Add Crossfade.");
  };
  h["addTitle"] = [&e] { e.addTitle(TitleStyle::lowerThird); };
  h["addColor"] = [&e] { e.addColorClip(RGBA::black()); };
  h["addVideoTrack"] = [&e] { e.addTrack(TrackKind::video); };
  h["addAudioTrack"] = [&e] { e.addTrack(TrackKind::audio); };
  h["markBeats"] = [&e] { e.markBeats(); };
  h["transcribe"] = [&e] { e.transcribe(); };
  h["cancelTranscription"] = [&e] { e.cancelTranscription(); };
  h["voiceOver"] = [&e] { e.toggleVoiceOver(); };

  h["markIn"] = [&e] { e.markInPoint(); };
  h["markOut"] = [&e] { e.markOutPoint(); };
  h["clearMarks"] = [&e] { e.clearMarks(); };
  h["addMarker"] = [&e] { e.addMarker(e.state().playhead, "Marker"); };
  h["previousEdit"] = [&e] { e.gotoEdit(false); };
  h["nextEdit"] = [&e] { e.gotoEdit(true); };

  h["playPause"] = [this] { togglePlay(); };
  h["playBackward"] = [this] { shuttle(-1); };
  h["stop"] = [this] { shuttle(0); };
  h["playForward"] = [this] { shuttle(1); };
  h["previousFrame"] = [&e] { e.step(-1); };
  h["nextFrame"] = [&e] { e.step(1); };
  h["back10"] = [&e] { e.step(-10); };
  h["forward10"] = [&e] { e.step(10); };
  h["gotoStart"] = [&e] {
    if (e.state().focus == ViewerFocus::source)
      e.setSourcePlayhead(0);
    else
      e.setPlayhead(0);
  };
  h["gotoEnd"] = [this, &e] {
    if (e.state().focus == ViewerFocus::source) {
      e.setSourcePlayhead(std::max<std::int64_t>(sourcePlayer_->duration() - 1, 0));
    } else if (const BrevSequence* sequence = e.activeSequence()) {
      e.setPlayhead(std::max<std::int64_t>(sequence->duration() - 1, 0));
    }
  };

  h["zoomIn"] = [this] { zoomTimeline(1.5); };
  h["zoomOut"] = [this] { zoomTimeline(1 / 1.5); };
  h["zoomToFit"] = [this, &e] {
    const BrevSequence* sequence = e.activeSequence();
    const std::int64_t frames = sequence ? std::max<std::int64_t>(sequence->duration(), 1) : 1;
    e.setPixelsPerFrame(std::clamp(std::max(timeline_->width() - 200, 200) / static_cast<double>(frames), 0.02, 40.0));
  };
  const auto zoomStep = [](int direction) {
    const int now = interfaceZoom();
    const auto* begin = std::begin(kZoomSteps);
    const auto* end = std::end(kZoomSteps);
    const auto* at = std::lower_bound(begin, end, now);
    if (direction > 0) at = (at != end && *at == now) ? at + 1 : at;
    else at = at == begin ? begin : at - 1;
    if (at == end) at = end - 1;
    setInterfaceZoom(*qApp, *at);
  };
  h["interfaceBigger"] = [zoomStep] { zoomStep(1); };
  h["interfaceSmaller"] = [zoomStep] { zoomStep(-1); };
  h["interfaceActual"] = [] { setInterfaceZoom(*qApp, 100); };
  h["useProxies"] = [&e] { e.setUseProxies(!e.state().useProxies); };
  for (std::size_t i = 0; i < kWorkspaceCommands.size(); ++i)
    h[kWorkspaceCommands[i]] = [&e, i] { e.setWorkspace(EnumTexts<Workspace>::items[i].first); };

  h["help"] = [this] { showHelp(); };
  h["about"] = [this] {
    QMessageBox::about(this, "About Vael Brevelan",
                       QStringLiteral("<b>Vael Brevelan</b> %1<br>A video editor for one person.").arg(BREVELAN_VERSION));
  };
}

void MainWindow::togglePlay() {
  const bool source = editor_.state().focus == ViewerFocus::source;
  PlaybackEngine& player = source ? *sourcePlayer_ : program_;
  const float rate = player.rate() == 0 ? 1.0f : 0.0f;
  player.setRate(rate);
  if (!source) editor_.setPlayRate(rate);
  (source ? sourceViewer_ : programViewer_)->setPlaying(rate != 0);
}

// J, K and L: each press of J or L doubles the speed in its direction, K stops.
void MainWindow::shuttle(int direction) {
  const bool source = editor_.state().focus == ViewerFocus::source;
  PlaybackEngine& player = source ? *sourcePlayer_ : program_;
  const float now = player.rate();
  float rate = 0;
  if (direction > 0) rate = now <= 0 ? 1 : std::min(now * 2, kMaxShuttle);
  if (direction < 0) rate = now >= 0 ? -1 : std::max(now * 2, -kMaxShuttle);
  player.setRate(rate);
  if (!source) editor_.setPlayRate(rate);
  (source ? sourceViewer_ : programViewer_)->setPlaying(rate != 0);
}

void MainWindow::zoomTimeline(double factor) {
  editor_.setPixelsPerFrame(std::clamp(editor_.state().pixelsPerFrame * factor, 0.02, 40.0));
}

void MainWindow::setWorkspace(int index) {
  if (index < 0 || index >= static_cast<int>(EnumTexts<Workspace>::items.size())) return;
  editor_.setWorkspace(EnumTexts<Workspace>::items[static_cast<std::size_t>(index)].first);
}

void MainWindow::showHelp() { HelpViewer(this).exec(); }

void MainWindow::showRecoverySheet() {
  RecoverySheet sheet(editor_, Autosave::standard(), this);
  if (!sheet.hasCopies()) {
    editor_.setStatus("No autosaved work to recover");
    return;
  }
  sheet.exec();
}

void MainWindow::importMedia(const std::vector<fs::path>& files) {
  const MediaProbe prober;
  const std::optional<std::string> bin = bin_->currentBin().empty() ? std::nullopt : std::optional(bin_->currentBin());
  importFiles(
      editor_, files, prober,
      [this](const MediaItem& item) {
        // Large movies get a 1080p proxy in the background; the item learns
        // its proxy when the file is whole.
        editor_.setStatus(ProxyMaker::runningStatus(item));
        proxies_.async([self = QPointer<MainWindow>(this), item] {
          auto made = ProxyMaker::make(item);
          postToMain([self, item, made = std::move(made)] {
            if (!self) return;
            EditorModel& editor_ = self->editor_;
            if (!made) return editor_.setStatus("Could not make a proxy: " + made.error());
            editor_.edit("Make Proxy", false, true, [&](Project& project) {
              for (std::size_t i = 0; i < project.media.size(); ++i)
                if (project.media[i].id == item.id) project.media.mut(i).proxyPath = made->path;
            });
            editor_.setStatus(ProxyMaker::readyStatus(item));
          });
        });
      },
      bin);
}

bool MainWindow::confirmDiscard() {
  if (!editor_.state().dirty) return true;
  switch (prompts_.confirmDiscard(QString::fromStdString(editor_.project().name))) {
    case ShellPrompts::Discard::discard: return true;
    case ShellPrompts::Discard::cancel: return false;
    case ShellPrompts::Discard::save: {
      auto saved = editor_.save(prompts_.saveLocation);
      return saved && *saved;
    }
  }
  return false;
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (!confirmDiscard()) {
    event->ignore();
    return;
  }
  program_.setRate(0);
  sourcePlayer_->setRate(0);
  event->accept();
}

// ---------------------------------------------------------------- observing

void MainWindow::onField(int raw) {
  const auto field = static_cast<Field>(raw);
  const EditorState& s = editor_.state();
  const BrevSequence* sequence = editor_.activeSequence();
  const FrameRate rate = sequence ? sequence->rate : FrameRate{30, 1};
  switch (field) {
    case Field::project:
    case Field::fileURL:
    case Field::dirty:
      refreshTitle();
      if (field == Field::project && editor_.project().id != shownProject_) {
        shownProject_ = editor_.project().id;
        reportMissingMedia();
      }
      if (field == Field::project) {
        programViewer_->setPosition(s.playhead, sequence ? sequence->duration() : 0, rate);
        if (s.sourceMediaID && !editor_.project().mediaItem(*s.sourceMediaID)) editor_.setSourceMediaID(std::nullopt);
      }
      break;
    case Field::playhead:
      programViewer_->setPosition(s.playhead, sequence ? sequence->duration() : 0, rate);
      break;
    case Field::markIn:
    case Field::markOut:
      programViewer_->setMarks(s.markIn, s.markOut, rate);
      break;
    case Field::tool:
    case Field::snapping:
    case Field::linkedSelection:
    case Field::useProxies:
      refreshSwitches();
      break;
    case Field::workspace: {
      const int index = static_cast<int>(s.workspace);
      if (tabs_->currentIndex() != index) tabs_->setCurrentIndex(index);
      pages_->setCurrentIndex(index);
      break;
    }
    case Field::focus:
      sourceViewer_->setActive(s.focus == ViewerFocus::source);
      programViewer_->setActive(s.focus == ViewerFocus::program);
      break;
    case Field::status:
      status_->setText(QString::fromStdString(s.status));
      break;
    case Field::busy:
      busyLabel_->setVisible(s.busy.has_value());
      busy_->setVisible(s.busy.has_value());
      busyLabel_->setText(s.busy ? QString::fromStdString(*s.busy) : QString());
      break;
    case Field::busyProgress:
      busy_->setValue(static_cast<int>(std::lround(s.busyProgress * 1000)));
      break;
    case Field::alert:
      if (s.alert) {
        const AlertInfo alert = *s.alert;
        // Shown after the change that raised it has finished.
        QMetaObject::invokeMethod(
            this,
            [this, alert] {
              if (!editor_.state().alert || editor_.state().alert->id != alert.id) return;
              editor_.setAlert(std::nullopt);
              prompts_.alert(QString::fromStdString(alert.title), QString::fromStdString(alert.message));
            },
            Qt::QueuedConnection);
      }
      break;
    case Field::sourceMediaID:
      refreshSourceViewer();
      break;
    case Field::sourcePlayhead:
    case Field::sourceIn:
    case Field::sourceOut: {
      const MediaItem* item = s.sourceMediaID ? editor_.project().mediaItem(*s.sourceMediaID) : nullptr;
      const FrameRate sourceRate = rate;
      sourceViewer_->setPosition(s.sourcePlayhead, sourcePlayer_->duration(), sourceRate);
      sourceViewer_->setMarks(s.sourceIn, s.sourceOut, sourceRate);
      if (field == Field::sourcePlayhead && item && sourcePlayer_->position() != s.sourcePlayhead &&
          sourcePlayer_->rate() == 0)
        sourcePlayer_->seek(s.sourcePlayhead, sourceRate);
      break;
    }
    case Field::voiceOverActive: {
      // A voice-over is spoken over the film: the program plays from the
      // playhead while the take records, and stops with it.
      const float rate = s.voiceOverActive ? 1.0f : 0.0f;
      if (program_.rate() != rate) {
        program_.setRate(rate);
        editor_.setPlayRate(rate);
        programViewer_->setPlaying(rate != 0);
      }
      action("voiceOver")->setChecked(s.voiceOverActive);
      break;
    }
    case Field::sheet:
      if (s.sheet) {
        const SheetKind kind = *s.sheet;
        editor_.setSheet(std::nullopt);
        QMetaObject::invokeMethod(
            this,
            [this, kind] {
              switch (kind) {
                case SheetKind::newSequence: runCommand("newSequence"); break;
                case SheetKind::recovery: showRecoverySheet(); break;
                case SheetKind::pasteAttributes: runCommand("pasteAttributes"); break;
                case SheetKind::about: runCommand("about"); break;
                case SheetKind::relink: runCommand("relink"); break;
              }
            },
            Qt::QueuedConnection);
      }
      break;
    default:
      break;
  }
}

// A project that comes in with media gone says so once, after whatever the
// opening itself put on the status line.
void MainWindow::reportMissingMedia() {
  std::size_t missing = 0;
  for (const MediaItem& item : editor_.project().media) {
    std::error_code ec;
    if (!fs::exists(item.path, ec)) ++missing;
  }
  if (missing == 0) return;
  const std::string text = std::to_string(missing) + " media file(s) are missing — use Media ▸ Relink";
  QMetaObject::invokeMethod(this, [this, text] { editor_.setStatus(text); }, Qt::QueuedConnection);
}

void MainWindow::refreshTitle() {
  const EditorState& s = editor_.state();
  QString title = QString::fromStdString(editor_.project().name);
  if (s.fileURL) title = QString::fromStdString(s.fileURL->filename().string());
  setWindowTitle(QStringLiteral("%1[*] — Vael Brevelan").arg(title));
  setWindowModified(s.dirty);
}

void MainWindow::refreshSwitches() {
  const EditorState& s = editor_.state();
  for (std::size_t i = 0; i < kTools.size(); ++i) action(kToolCommands[i])->setChecked(s.tool == kTools[i]);
  action("snapping")->setChecked(s.snapping);
  action("linkedSelection")->setChecked(s.linkedSelection);
  action("useProxies")->setChecked(s.useProxies);
}

void MainWindow::refreshSourceViewer() {
  const EditorState& s = editor_.state();
  const MediaItem* item = s.sourceMediaID ? editor_.project().mediaItem(*s.sourceMediaID) : nullptr;
  sourcePlayer_->setRate(0);
  sourceViewer_->setPlaying(false);
  if (!item) {
    shownSource_.reset();
    sourcePlayer_->replaceItem(nullptr, BrevSequence{});
    sourceViewer_->view().setPicture({});
    return;
  }
  if (shownSource_ == item->id.str()) return;
  shownSource_ = item->id.str();
  openSourceMedia(item->id.str());
}

// The Source viewer plays the item alone, as a one-clip sequence at the
// open sequence's rate, so its marks count in the frames the edits use.
void MainWindow::openSourceMedia(const std::string& mediaID) {
  const MediaItem* item = editor_.project().mediaItem(*Uuid::parse(mediaID));
  if (!item) return;
  const BrevSequence* open = editor_.activeSequence();
  BrevSequence preview = sourcePreview(*item, open ? std::optional(open->rate) : std::nullopt);
  Project project = editor_.project();
  sourceViewer_->view().setPicture({});
  sourceViewer_->view().setPlaceholder(QStringLiteral("Opening “%1”…").arg(QString::fromStdString(item->name)));
  sourceBuilds_.async([self = QPointer<MainWindow>(this), project = std::move(project), preview = std::move(preview),
                       mediaID] {
    BuildOptions options;
    options.withStems = true;
    options.useProxies = true;
    std::shared_ptr<const ProgramBuild> build = buildComposition(project, preview, options);
    postToMain([self, build, preview, mediaID] {
      if (!self || self->shownSource_ != mediaID) return;  // gone, or another item was opened meanwhile
      self->sourcePlayer_->replaceItem(build, preview);
      self->sourcePlayer_->seek(0, preview.rate);
      self->editor_.setSourcePlayhead(0);
    });
  });
}

}  // namespace brevelan
