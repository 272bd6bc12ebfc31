// Compositing speed at 1080p with the sources already decoded (stills held by
// the asset cache): two layers in a crossfade with a grade on one and a lower
// third on top, and a plain single layer. One frame per call on one thread;
// the "both cores" figure draws alternate frames on two threads at once, as
// an export's painter and a second painter could.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <filesystem>
#include <thread>

#include "media/still_image.h"
#include "picture/composition_builder.h"
#include "picture/frame_renderer.h"
#include "picture/gui_environment.h"

namespace {

using namespace brevelan;

struct Scene {
  std::filesystem::path dir = std::filesystem::temp_directory_path() / "brevelan-frames-bench";
  Project project = Project::make();
  std::shared_ptr<CompositionBuild> crossfade, plain;

  Scene() {
    ensureGuiEnvironment();
    std::filesystem::create_directories(dir);
    Picture noise(1920, 1080, PixelOrder::rgba);
    std::uint32_t state = 1;
    for (std::size_t i = 0; i < noise.bytes(); ++i) {
      state = state * 1664525u + 1013904223u;
      noise.pixels[i] = (i % 4 == 3) ? 255 : static_cast<std::uint8_t>(state >> 24);
    }
    if (!writePNG(noise, dir / "a.png")) std::abort();
    MediaItem item;
    item.id = Uuid::make();
    item.kind = MediaKind::image;
    item.path = (dir / "a.png").string();
    project.media.push_back(item);
    BrevSequence& seq = *project.mutableActiveSequence();
    Clip a = Clip::make(ClipSource::media(item.id), "A", 0, 60, 0, 1000);
    Clip b = Clip::make(ClipSource::media(item.id), "B", 60, 60, 0, 1000);
    b.transitionIn = Transition{TransitionKind::crossfade, 30};
    b.grade.mut().exposure = 0.4;
    b.grade.mut().saturation = 1.3;
    TitleSpec title;
    title.text = "Lower third";
    title.subtitle = "over both";
    seq.video.mut(0).clips.push_back(a);
    seq.video.mut(0).clips.push_back(b);
    seq.video.mut(1).clips.push_back(Clip::make(ClipSource::title(title), "T", 0, 120));
    crossfade = buildComposition(project, seq, BuildOptions{});
    seq.video.mut(0).clips.erase(1);
    seq.video.mut(1).clips.erase(0);
    plain = buildComposition(project, seq, BuildOptions{});
  }
};

// The brevelan executable keeps freed frames in the process (see main.cpp); so does this program.
const bool keepFreedMemory = [] {
  mallopt(M_MMAP_THRESHOLD, 64 << 20);
  mallopt(M_TRIM_THRESHOLD, 256 << 20);
  return true;
}();

Scene& scene() {
  static Scene s;
  return s;
}

void draw(const CompositionBuild& build, std::int64_t f, SourceFrames& sources) {
  benchmark::DoNotOptimize(FrameRenderer::output(build, f, sources));
}

void BM_CrossfadeGradeTitle(benchmark::State& state) {
  const Scene& s = scene();
  SourceFrames sources;
  std::int64_t f = 50;
  for (auto _ : state) draw(*s.crossfade, 50 + (f++ % 20), sources);  // inside the crossfade
}
BENCHMARK(BM_CrossfadeGradeTitle)->Unit(benchmark::kMillisecond);

void BM_CrossfadeGradeTitleBothCores(benchmark::State& state) {
  const Scene& s = scene();
  constexpr int kFrames = 20;
  for (auto _ : state) {
    // Each painter draws every other frame of the crossfade with its own readers.
    const auto paint = [&](std::int64_t first) {
      SourceFrames sources;
      for (std::int64_t f = first; f < 50 + kFrames; f += 2) draw(*s.crossfade, f, sources);
    };
    std::thread other(paint, 51);
    paint(50);
    other.join();
  }
  state.SetItemsProcessed(kFrames * state.iterations());
}
BENCHMARK(BM_CrossfadeGradeTitleBothCores)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PlainLayer(benchmark::State& state) {
  const Scene& s = scene();
  SourceFrames sources;
  for (auto _ : state) draw(*s.plain, 10, sources);
}
BENCHMARK(BM_PlainLayer)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
