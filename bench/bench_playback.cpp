// Playback of the 1080p sample project: pictures drawn per second by the
// workers when nothing holds them back, and what 10 s of real-time playback
// shows and drops.
#include <benchmark/benchmark.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <unistd.h>

#include "app/media_commands.h"
#include "app/playback/frame_pump.h"
#include "app/playback/playback_engine.h"
#include "media/media_probe.h"
#include "picture/composition_builder.h"
#include "picture/gui_environment.h"

namespace {

using namespace brevelan;

// The sample project with its demo media in a temporary folder, removed at exit.
struct Sample {
  std::filesystem::path folder;
  Project project;
  std::shared_ptr<const CompositionBuild> build;

  Sample() {
    // Titles lay out text and the engine runs timers: both want a GUI application.
    ensureGuiEnvironment();
    char pattern[] = "/tmp/brevelan-bench-playback-XXXXXX";
    folder = ::mkdtemp(pattern);
    ::setenv("XDG_DATA_HOME", (folder / "xdg").c_str(), 1);
    auto made = makeSampleProjectWithMedia(folder, MediaProbe());
    if (!made) std::abort();
    project = std::move(made).value();
    BuildOptions options;
    options.withStems = true;
    build = buildComposition(project, project.sequences[0], options);
  }
  ~Sample() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
};

Sample& sample() {
  static Sample made;
  return made;
}

// Two workers drawing the film from `start` as fast as they can, eight frames ahead.
void BM_DrawAhead(benchmark::State& state) {
  const auto build = sample().build;
  const std::int64_t start = state.range(0);
  const std::int64_t count = 150;
  std::mutex lock;
  std::condition_variable landed;
  std::int64_t frames = 0;
  for (auto _ : state) {
    FramePump pump(2, [&] {
      std::lock_guard guard(lock);
      landed.notify_all();
    });
    pump.setBuild(build);
    for (std::int64_t f = start; f < start + count; ++f) {
      std::vector<std::int64_t> wanted;
      for (std::int64_t k = f; k < f + 8 && k < build->duration; ++k) wanted.push_back(k);
      pump.want(wanted);
      std::unique_lock guard(lock);
      landed.wait(guard, [&] { return pump.ready(f).has_value(); });
    }
    frames += count;
  }
  state.counters["frames_per_s"] = benchmark::Counter(static_cast<double>(frames), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_DrawAhead)->Arg(0)->Arg(330)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);

// The engine playing 10 s at 1× from `start` on its own clock.
void BM_PlayTenSeconds(benchmark::State& state) {
  const auto build = sample().build;
  const BrevSequence& seq = sample().project.sequences[0];
  for (auto _ : state) {
    PlaybackEngine engine;
    engine.replaceItem(build, seq);
    engine.seek(state.range(0), seq.rate);
    const std::int64_t drawnBefore = engine.framesDrawn();
    engine.setRate(1);
    QEventLoop loop;
    QTimer::singleShot(10'000, &loop, &QEventLoop::quit);
    loop.exec();
    const std::int64_t shown = engine.framesShown();
    const std::int64_t dropped = engine.framesDropped();
    const std::int64_t drawn = engine.framesDrawn() - drawnBefore;
    engine.setRate(0);
    state.counters["shown"] = static_cast<double>(shown);
    state.counters["dropped"] = static_cast<double>(dropped);
    state.counters["drawn_per_s"] = static_cast<double>(drawn) / 10.0;
  }
}
BENCHMARK(BM_PlayTenSeconds)->Arg(0)->Arg(330)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
