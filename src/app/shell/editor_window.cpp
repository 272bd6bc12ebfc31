#include "app/shell/editor_window.h"

#include <QApplication>
#include <QPointer>
#include <QEventLoop>
#include <QTimer>

#include <cstdio>

#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>

#include "app/media_commands.h"
#include "app/speech_captions.h"
#include "app/playback/playback_engine.h"
#include "app/shell/dark_theme.h"
#include "app/shell/main_window.h"
#include "app/shell/termination_watch.h"
#include "app/playback/qt_services.h"
#include "edit/autosave_copies.h"
#include "edit/editor_model.h"
#include "media/media_probe.h"
#include "model/app_folders.h"
#include "model/autosave.h"
#include "model/project_file.h"
#include "sound/clip_beats.h"
#include "sound/mixer.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

EditorServices realServices(std::shared_ptr<PlaybackEngine> program) {
  EditorServices services;
  services.scheduler = std::make_shared<QtScheduler>();
  services.builder = std::make_shared<BackgroundBuilder>();
  services.player = std::move(program);
  services.recovery = std::make_shared<AutosaveCopies>(Autosave::standard());
  services.clock = [] {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
  };
  services.findBeats = [](const Project& project, const BrevSequence& seq, const Uuid& clip) {
    return clipBeats(Mixer(project), seq, clip);
  };
  services.beep = [] { QApplication::beep(); };
  services.speech = std::make_shared<LocalSpeechCaptioner>([](std::function<void()> work) { postToMain(std::move(work)); });
  return services;
}

// With nothing named, the editor opens the sample film, written once into
// the support folder (a few seconds of synthetic media) in the background.
void openSample(MainWindow& window) {
  const fs::path folder = AppFolders::support() / "Sample";
  const fs::path file = folder / "Sample.brevelan";
  EditorModel& editor = window.editor();
  if (fs::exists(file)) {
    (void)editor.open(file);
    return;
  }
  editor.setBusy("Writing the sample project…");
  std::thread([folder, file, target = QPointer<MainWindow>(&window)] {
    const MediaProbe prober;
    auto project = makeSampleProjectWithMedia(folder, prober);
    std::string problem;
    if (!project) problem = project.error();
    else if (auto saved = ProjectFile::save(*project, file); !saved) problem = saved.error().message;
    postToMain([target, file, problem] {
      if (!target) return;
      EditorModel& editor = target->editor();
      editor.setBusy(std::nullopt);
      if (!problem.empty()) return editor.setStatus("Could not write the sample project: " + problem);
      // The person may have started something of their own meanwhile.
      if (!editor.state().dirty && !editor.state().fileURL) (void)editor.open(file);
    });
  }).detach();
}

}  // namespace

int runEditor(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName("Vael Brevelan");
  QApplication::setDesktopFileName("vael-brevelan");
  applyDarkTheme(app);

  auto program = std::make_shared<PlaybackEngine>();
  EditorModel editor(Project::make(), realServices(program));
  EditorModel::setShared(&editor);

  const Autosave autosave = Autosave::standard();
  const bool crashed = autosave.beginSession();
  editor.startAutosave(30);

  int result = 0;
  // Asked to end by a signal: unsaved work goes into a recovery copy and the
  // session is left open, so the next start offers the copy back, as after
  // any abnormal end. Leaving the event loop then ends as a quit does: the
  // render queue stops its export and removes the unfinished file.
  bool keptForRecovery = false;
  TerminationWatch watch([&](int signal) {
    keptForRecovery = editor.keepUnsavedWork() || keptForRecovery;
    QApplication::exit(128 + signal);
  });
  {
    MainWindow window(editor, *program);
    window.show();
    const QStringList args = app.arguments();
    const auto named = std::find_if(args.begin() + 1, args.end(), [](const QString& a) { return a.endsWith(".brevelan"); });
    if (named != args.end())
      (void)editor.open(named->toStdString());
    else
      openSample(window);
    editor.scheduleRebuild(0);
    if (crashed && !autosave.pending().empty())
      QTimer::singleShot(0, &window, [&window] { window.showRecoverySheet(); });
    result = app.exec();
    program->setRate(0);
  }
  editor.stopAutosave();
  EditorModel::setShared(nullptr);
  if (!keptForRecovery) autosave.endSession();
  return result;
}

int runScreenshot(int argc, char** argv) {
  std::vector<std::string> args(argv + 2, argv + argc);
  std::string project, output, workspace = "EDIT";
  std::int64_t at = -1;
  int width = 1600, height = 1000;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const bool hasValue = i + 1 < args.size();
    if (args[i] == "-o" && hasValue) output = args[++i];
    else if (args[i] == "--workspace" && hasValue) workspace = args[++i];
    else if (args[i] == "--at" && hasValue) at = std::stoll(args[++i]);
    else if (args[i] == "--size" && hasValue && std::sscanf(args[++i].c_str(), "%dx%d", &width, &height) == 2) {}
    else if (project.empty()) project = args[i];
    else return std::fprintf(stderr, "brevelan: unexpected argument \"%s\"\n", args[i].c_str()), 2;
  }
  if (project.empty() || output.empty()) {
    std::fprintf(stderr, "brevelan: usage: brevelan screenshot PROJECT -o PNG [--workspace NAME] [--at FRAME] [--size WxH]\n");
    return 2;
  }
  const auto space = fromText<Workspace>(workspace);
  if (!space) return std::fprintf(stderr, "brevelan: unknown workspace \"%s\"\n", workspace.c_str()), 2;
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM") && !qEnvironmentVariableIsSet("DISPLAY"))
    qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  applyDarkTheme(app);

  auto program = std::make_shared<PlaybackEngine>();
  EditorServices services = realServices(program);
  services.recovery.reset();  // a look, not a session: no recovery copies
  EditorModel editor(Project::make(), std::move(services));
  MainWindow window(editor, *program);
  window.resize(width, height);
  if (auto opened = editor.open(project); !opened)
    return std::fprintf(stderr, "brevelan: %s\n", opened.error().message.c_str()), 1;
  editor.setWorkspace(*space);
  if (at >= 0) editor.setPlayhead(at);
  window.show();

  // Wait for the build, then for the pictures it brings, within reason.
  QEventLoop loop;
  QTimer poll;
  int waited = 0;
  QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
    waited += 100;
    if ((editor.currentBuild() && waited >= 1500) || waited >= 20000) loop.quit();
  });
  poll.start(100);
  loop.exec();
  if (!window.grab().save(QString::fromStdString(output)))
    return std::fprintf(stderr, "brevelan: could not write \"%s\"\n", output.c_str()), 1;
  return 0;
}

}  // namespace brevelan
