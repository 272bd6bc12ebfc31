// The COLOR workspace's two speed targets on Qt's offscreen display: scopes of
// a stopped 1080p program frame (shrink + measure + draw), and how soon a grade
// change shows as a new program frame, alone and during a continuous drag.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QDoubleSpinBox>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QPainter>
#include <QSlider>
#include <QTimer>

#include <cstdlib>
#include <filesystem>
#include <unistd.h>

#include "app/media_commands.h"
#include "app/playback/playback_engine.h"
#include "app/playback/qt_services.h"
#include "app/workspaces/color_page.h"
#include "app/workspaces/scope_sampler.h"
#include "app/workspaces/scope_view.h"
#include "edit/editor_model.h"
#include "media/media_probe.h"
#include "model/serial_queue.h"
#include "picture/composition_builder.h"

namespace {

using namespace brevelan;

// A 1080p frame with every level and plenty of colour: a hue sweep across, darkening downwards.
QImage testFrame() {
  QImage frame(1920, 1080, QImage::Format_ARGB32_Premultiplied);
  for (int y = 0; y < frame.height(); ++y) {
    auto* line = reinterpret_cast<QRgb*>(frame.scanLine(y));
    for (int x = 0; x < frame.width(); ++x)
      line[x] = QColor::fromHsv(x * 359 / frame.width(), 200, 255 - y * 255 / frame.height()).rgb();
  }
  return frame;
}

void drawAll(const ScopeData& data, QImage& canvas) {
  QPainter painter(&canvas);
  drawScope(painter, QRectF(0, 0, 640, 260), ScopeKind::waveform, &data);
  drawScope(painter, QRectF(0, 260, 320, 260), ScopeKind::vectorscope, &data);
  drawScope(painter, QRectF(320, 260, 320, 260), ScopeKind::histogram, &data);
}

void BM_ScopeShrink(benchmark::State& state) {
  const QImage frame = testFrame();
  for (auto _ : state) benchmark::DoNotOptimize(scopeBitmap(frame));
}
BENCHMARK(BM_ScopeShrink)->Unit(benchmark::kMillisecond);

void BM_ScopeMeasure(benchmark::State& state) {
  const QImage bitmap = scopeBitmap(testFrame());
  const std::span<const std::uint8_t> bytes(bitmap.constBits(), static_cast<std::size_t>(bitmap.sizeInBytes()));
  for (auto _ : state)
    benchmark::DoNotOptimize(ScopeData::measure(bytes, bitmap.width(), bitmap.height(), kScopeWaveColumns));
}
BENCHMARK(BM_ScopeMeasure)->Unit(benchmark::kMillisecond);

void BM_ScopeDraw(benchmark::State& state) {
  const auto data = measureFrame(testFrame());
  QImage canvas(640, 520, QImage::Format_ARGB32_Premultiplied);
  for (auto _ : state) drawAll(*data, canvas);
}
BENCHMARK(BM_ScopeDraw)->Unit(benchmark::kMillisecond);

// What the stopped playhead costs before the scopes are up: all three steps.
void BM_ScopesOf1080pFrame(benchmark::State& state) {
  const QImage frame = testFrame();
  QImage canvas(640, 520, QImage::Format_ARGB32_Premultiplied);
  for (auto _ : state) drawAll(*measureFrame(frame), canvas);
}
BENCHMARK(BM_ScopesOf1080pFrame)->Unit(benchmark::kMillisecond);

// The window's services, as the application has them: timers on the event
// loop and builds (stems included) on a queue of their own.
class TimerScheduler final : public Scheduler {
 public:
  void schedule(double seconds, std::function<void()> work) override {
    QTimer::singleShot(static_cast<int>(seconds * 1000 + 0.5), QCoreApplication::instance(), std::move(work));
  }
};

void runFor(int ms) {
  QEventLoop loop;
  QTimer::singleShot(ms, &loop, &QEventLoop::quit);
  loop.exec();
}

bool waitUntil(const std::function<bool()>& done, int ms = 20000) {
  QElapsedTimer timer;
  timer.start();
  while (!done()) {
    if (timer.elapsed() > ms) return false;
    runFor(1);
  }
  return true;
}

// The 1080p sample project open in the COLOR page with its colour bars selected.
struct Workspace {
  std::filesystem::path folder;
  std::shared_ptr<PlaybackEngine> program = std::make_shared<PlaybackEngine>();
  std::unique_ptr<EditorModel> editor;
  std::unique_ptr<ColorPage> page;
  std::shared_ptr<const ProgramBuild> shownBuild;  // the build of the latest frame shown

  Workspace() {
    char pattern[] = "/tmp/brevelan-bench-scopes-XXXXXX";
    folder = ::mkdtemp(pattern);
    ::setenv("XDG_DATA_HOME", (folder / "xdg").c_str(), 1);
    ::setenv("XDG_CACHE_HOME", (folder / "cache").c_str(), 1);
    auto made = makeSampleProjectWithMedia(folder, MediaProbe());
    if (!made) std::abort();
    EditorServices services;
    services.scheduler = std::make_shared<TimerScheduler>();
    services.builder = std::make_shared<BackgroundBuilder>();
    services.player = program;
    editor = std::make_unique<EditorModel>(std::move(made).value(), std::move(services));
    page = std::make_unique<ColorPage>(*editor, *program);
    page->resize(1600, 900);
    page->show();
    QObject::connect(program.get(), &PlaybackEngine::frameShown, page.get(),
                     [this](const QImage&, qint64) { shownBuild = editor->currentBuild(); });
    editor->select(editor->activeSequence()->video[0].clips[0].id, false);
    editor->setPlayhead(30);
    if (!waitUntil([&] { return shownBuild != nullptr; })) std::abort();
    runFor(500);  // stems written, the first picture up
  }
  ~Workspace() {
    page.reset();
    editor.reset();
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
};

Workspace& workspace() {
  static Workspace made;
  return made;
}

// One exposure step typed in, until its graded frame is on screen.
void BM_GradeStepToFrame(benchmark::State& state) {
  Workspace& w = workspace();
  auto* number = w.page->findChild<QDoubleSpinBox*>("Exposure Number");
  double exposure = 0;
  double building = 0, drawing = 0;
  for (auto _ : state) {
    const auto before = w.shownBuild;
    exposure = exposure >= 1 ? 0 : exposure + 0.05;
    QElapsedTimer clock;
    clock.start();
    number->setValue(exposure);
    // Split the wait: until the new build is installed, then until its frame is drawn and shown.
    if (!waitUntil([&] { return w.editor->currentBuild() != before; })) state.SkipWithError("no build");
    const double built = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    if (!waitUntil([&] { return w.shownBuild != before; })) state.SkipWithError("no frame");
    building += built;
    drawing += static_cast<double>(clock.nsecsElapsed()) / 1e6 - built;
  }
  state.counters["build_ms"] = building / static_cast<double>(state.iterations());
  state.counters["draw_ms"] = drawing / static_cast<double>(state.iterations());
}
BENCHMARK(BM_GradeStepToFrame)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(30);

// A slider dragged for two seconds at 60 changes a second: how many graded frames show.
void BM_GradeDragFramesPerSecond(benchmark::State& state) {
  Workspace& w = workspace();
  auto* slider = w.page->findChild<QSlider*>("Exposure");
  for (auto _ : state) {
    // Frames of a new build: each shows the grade as it was when that build began.
    int shown = 0;
    auto last = w.editor->currentBuild();
    const auto count = [&](const QImage&, qint64) {
      if (w.editor->currentBuild() != last) ++shown;
      last = w.editor->currentBuild();
    };
    auto counter = QObject::connect(w.program.get(), &PlaybackEngine::frameShown, w.page.get(), count);
    QElapsedTimer clock;
    clock.start();
    int step = 0;
    slider->setSliderDown(true);
    while (clock.elapsed() < 2000) {
      slider->setValue(step++ % 200);
      runFor(16);
    }
    slider->setSliderDown(false);
    const double seconds = static_cast<double>(clock.elapsed()) / 1000;
    QObject::disconnect(counter);
    state.counters["frames_per_s"] = shown / seconds;
    state.counters["changes_per_s"] = step / seconds;
  }
}
BENCHMARK(BM_GradeDragFramesPerSecond)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);

}  // namespace

int main(int argc, char** argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
