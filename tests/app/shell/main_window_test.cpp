// The editor window over a real editor, builder and demo media, on Qt's
// offscreen display: commands reach the document through menus and keys, the
// inspector edits the selected clip, and nothing unsaved is dropped silently.
#include "app/shell/main_window.h"

#include <gtest/gtest.h>

#include <QDoubleSpinBox>
#include <QSignalSpy>
#include <QTest>

#include <chrono>
#include <set>
#include <sstream>

#include "app/media_commands.h"
#include "app/playback/playback_engine.h"
#include "app/shell/brev_commands.h"
#include "app/shell/clip_inspector.h"
#include "app/shell/dark_theme.h"
#include "app/shell/media_bin.h"
#include "app/playback/qt_services.h"
#include "edit/editor_model.h"
#include "model/project_file.h"
#include "support/demo_folder.h"
#include "support/app_folders_suite.h"
#include "support/widget_app.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

class EditorWindow : public testing::AppFoldersSuite {
 protected:
  void SetUp() override {
    testing::widgetApp();
    program_ = std::make_shared<PlaybackEngine>();
    EditorServices services;
    services.scheduler = std::make_shared<QtScheduler>();
    services.builder = std::make_shared<BackgroundBuilder>();
    services.player = program_;
    editor_ = std::make_unique<EditorModel>(Project::make(), std::move(services));
    window_ = std::make_unique<MainWindow>(*editor_, *program_);
    ShellPrompts prompts;
    prompts.openProject = [this] { return openAnswer_; };
    prompts.saveLocation = [this] { return saveAnswer_; };
    prompts.mediaFiles = [] { return std::vector<fs::path>{}; };
    prompts.confirmDiscard = [this](const QString& name) {
      asked_.push_back(name.toStdString());
      return discardAnswer_;
    };
    prompts.alert = [this](const QString& title, const QString& message) {
      alerts_.push_back(title.toStdString() + ": " + message.toStdString());
    };
    window_->setPrompts(prompts);
    ASSERT_TRUE(editor_->open(testing::demoFolder() / "Sample.brevelan"));
    window_->show();
    window_->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window_.get()));
  }

  const Clip* clipNamed(const std::string& name) const {
    for (const Track& track : editor_->activeSequence()->video)
      for (const Clip& clip : track.clips)
        if (clip.name == name) return &clip;
    return nullptr;
  }

  std::shared_ptr<PlaybackEngine> program_;
  std::unique_ptr<EditorModel> editor_;
  std::unique_ptr<MainWindow> window_;
  std::optional<fs::path> openAnswer_;
  std::optional<fs::path> saveAnswer_;
  ShellPrompts::Discard discardAnswer_ = ShellPrompts::Discard::cancel;
  std::vector<std::string> asked_;
  std::vector<std::string> alerts_;
};

TEST(BrevCommands, EveryCommandHasAnActionAndNoKeyIsTakenTwice) {
  testing::widgetApp();
  EditorModel editor(Project::make());
  PlaybackEngine program;
  MainWindow window(editor, program);
  std::set<QString> keys;
  for (const BrevCommand& command : brevCommands()) {
    SCOPED_TRACE(std::string(command.id));
    ASSERT_NE(window.action(command.id), nullptr);
    EXPECT_EQ(window.action(command.id)->shortcut(), command.key);
    if (command.key.isEmpty()) continue;
    EXPECT_TRUE(keys.insert(command.key.toString()).second) << "key used twice: " << command.key.toString().toStdString();
  }
  // The keys people know from other editors.
  EXPECT_EQ(commandByID("blade")->key, QKeySequence("Ctrl+K"));
  EXPECT_EQ(commandByID("nest")->key, QKeySequence("Ctrl+Alt+G"));
  EXPECT_EQ(commandByID("freeze")->key, QKeySequence("Ctrl+Alt+F"));
  EXPECT_EQ(commandByID("rippleDelete")->key, QKeySequence("Shift+Backspace"));
  EXPECT_EQ(window.action("toolRipple")->toolTip(), "Ripple (R): drag an edge — later clips follow");
}

TEST_F(EditorWindow, KeysAndMenusReachTheEditor) {
  const std::size_t steps = editor_->history().undoSteps().size();
  QTest::keyClick(window_.get(), Qt::Key_B);
  EXPECT_EQ(editor_->state().tool, Tool::blade);
  QTest::keyClick(window_.get(), Qt::Key_A);
  EXPECT_EQ(editor_->state().tool, Tool::select);

  editor_->setPlayhead(60);
  QTest::keyClick(window_.get(), Qt::Key_K, Qt::ControlModifier);
  EXPECT_EQ(editor_->history().undoSteps().size(), steps + 1);
  EXPECT_EQ(window_->statusText(), "Blade");
  window_->action("undo")->trigger();
  EXPECT_EQ(editor_->history().undoSteps().size(), steps);

  QTest::keyClick(window_.get(), Qt::Key_I);
  QTest::keyClick(window_.get(), Qt::Key_Right);
  QTest::keyClick(window_.get(), Qt::Key_O);
  EXPECT_EQ(editor_->state().markIn, 60);
  EXPECT_EQ(editor_->state().markOut, 61);

  window_->workspaceTabs().setCurrentIndex(2);
  EXPECT_EQ(editor_->state().workspace, Workspace::audio);
  ASSERT_TRUE(window_->runCommand("workspaceEdit"));
  EXPECT_EQ(window_->workspaceTabs().currentIndex(), 0);
  EXPECT_FALSE(window_->runCommand("noSuchCommand"));
}

TEST_F(EditorWindow, AnEditThatCannotBeMadeSaysWhyInAnAlert) {
  editor_->clearSelection();
  window_->runCommand("jCut");
  QTest::qWait(20);  // alerts are shown after the change that raised them
  ASSERT_EQ(alerts_.size(), 1u);
  EXPECT_NE(alerts_[0].find("Select the video clip AFTER the cut"), std::string::npos) << alerts_[0];
  EXPECT_FALSE(editor_->state().alert.has_value());
}

TEST_F(EditorWindow, InspectorEditsTheSelectedClipAsOneStepPerControl) {
  const Clip* bars = clipNamed("colour-bars");
  ASSERT_NE(bars, nullptr);
  const Uuid id = bars->id;
  editor_->select(id, false);
  ASSERT_TRUE(window_->inspector().shownClip());
  EXPECT_EQ(window_->inspector().shownClip()->id, id);

  auto* volume = window_->inspector().findChildren<QDoubleSpinBox*>().at(6);  // after the five transform fields + rate
  ASSERT_EQ(volume->suffix(), " dB");
  const std::size_t steps = editor_->history().undoSteps().size();
  for (double dB : {-1.0, -2.0, -3.0, -4.5}) volume->setValue(dB);
  EXPECT_EQ(editor_->history().undoSteps().size(), steps + 1);
  EXPECT_EQ(editor_->history().undoSteps().back().name, "Volume");
  EXPECT_DOUBLE_EQ(clipNamed("colour-bars")->audio->gainDB, -4.5);

  auto* rate = window_->inspector().findChildren<QDoubleSpinBox*>().at(5);
  ASSERT_EQ(rate->suffix(), " %");
  const std::int64_t before = clipNamed("colour-bars")->duration;
  rate->setValue(200);
  EXPECT_EQ(clipNamed("colour-bars")->speed.rate, 2.0);
  EXPECT_EQ(clipNamed("colour-bars")->duration, before / 2);
  EXPECT_EQ(editor_->history().undoSteps().back().name, "Speed");
}

TEST_F(EditorWindow, UnsavedWorkIsNeverDroppedWithoutAsking) {
  editor_->addMarker(10, "Here");
  ASSERT_TRUE(editor_->state().dirty);
  openAnswer_ = testing::demoFolder() / "Sample.brevelan";

  discardAnswer_ = ShellPrompts::Discard::cancel;
  window_->runCommand("open");
  EXPECT_EQ(asked_.size(), 1u);
  EXPECT_TRUE(editor_->state().dirty);  // still the changed document

  // Closing the window asks too, and cancelling keeps it open.
  EXPECT_FALSE(window_->close());
  EXPECT_EQ(asked_.size(), 2u);

  // Saving first writes the file, then the new document comes in.
  discardAnswer_ = ShellPrompts::Discard::save;
  saveAnswer_ = dir_->path() / "saved.brevelan";
  ASSERT_TRUE(editor_->saveAs([this] { return saveAnswer_; }));
  editor_->addMarker(20, "There");
  window_->runCommand("newProject");
  EXPECT_FALSE(editor_->state().dirty);
  auto saved = ProjectFile::load(dir_->path() / "saved.brevelan");
  ASSERT_TRUE(saved);
  const auto& markers = saved->activeSequence()->markers;
  EXPECT_EQ(std::count_if(markers.begin(), markers.end(), [](const Marker& m) { return m.name == "There"; }), 1);
}

TEST_F(EditorWindow, ImportedMediaAppearInTheBinAndOpenInTheSourceViewer) {
  const std::size_t before = editor_->project().media.size();
  window_->importMedia({testing::demoFolder() / "tone-6dBFS.wav", dir_->path() / "missing.mov"});
  EXPECT_EQ(editor_->project().media.size(), before + 1);
  // Media first, then the project's sequences.
  EXPECT_EQ(window_->bin().list().count(), static_cast<int>(before + 1 + editor_->project().sequences.size()));
  QTest::qWait(20);
  ASSERT_EQ(alerts_.size(), 1u);  // the missing file is named, the rest arrived
  EXPECT_NE(alerts_[0].find("missing.mov"), std::string::npos);

  // The search filter narrows the bin.
  editor_->setBinFilter("tone");
  EXPECT_EQ(window_->bin().list().count(), 2);

  editor_->setSourceMediaID(editor_->project().media.back().id);
  for (int i = 0; i < 100 && window_->sourcePlayer().duration() == 0; ++i) QTest::qWait(50);
  EXPECT_GT(window_->sourcePlayer().duration(), 0);
}

TEST_F(EditorWindow, AProjectWithMissingMediaOpensAndSaysHowManyAreGone) {
  auto project = ProjectFile::load(testing::demoFolder() / "Sample.brevelan");
  ASSERT_TRUE(project);
  project->media.mut(0).path = "/nowhere/gone.mov";
  project->media.mut(0).relativePath.reset();
  ASSERT_TRUE(ProjectFile::save(*project, dir_->path() / "gone.brevelan"));
  ASSERT_TRUE(editor_->open(dir_->path() / "gone.brevelan"));
  QTest::qWait(20);
  EXPECT_EQ(window_->statusText(), "1 media file(s) are missing — use Media ▸ Relink");
  EXPECT_EQ(editor_->project().media.size(), project->media.size());
}

// Every workspace drawn with a clip (and its sound) selected, written to the
// build folder for review; a page that draws nothing at all fails.
TEST_F(EditorWindow, EachWorkspaceIsDrawnForReview) {
  applyDarkTheme(*qApp);
  editor_->select(clipNamed("colour-bars")->id, false);
  editor_->setPlayhead(30);
  for (int i = 0; i < 100 && !editor_->currentBuild(); ++i) QTest::qWait(50);
  QTest::qWait(300);  // the first picture
  window_->resize(1600, 1000);
  const fs::path folder = fs::path(BREVELAN_TEST_CACHE) / "screenshots";
  fs::create_directories(folder);
  for (const auto& [workspace, name] : EnumTexts<Workspace>::items) {
    editor_->setWorkspace(workspace);
    QTest::qWait(50);
    const QImage shot = window_->grab().toImage();
    ASSERT_TRUE(shot.save(QString::fromStdString((folder / (std::string(name) + ".png")).string())));
    // A drawn page has many colours; a blank one has a handful.
    std::set<QRgb> colours;
    for (int y = 80; y < shot.height(); y += 7)
      for (int x = 0; x < shot.width(); x += 7) colours.insert(shot.pixel(x, y));
    EXPECT_GT(colours.size(), 20u) << name;
  }
}

}  // namespace
}  // namespace brevelan
