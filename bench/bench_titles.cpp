// Cost of laying out titles and captions at 1080p, and of the per-frame work
// that remains once a title is cached (the credits window and the fades).
#include <benchmark/benchmark.h>

#include "picture/gui_environment.h"
#include "picture/title_renderer.h"

namespace brevelan {
namespace {

TitleSpec lowerThird() {
  TitleSpec t;
  t.text = "Jane Doe";
  t.subtitle = "Director of Photography";
  t.shadow = true;
  return t;
}

TitleSpec credits() {
  TitleSpec t;
  t.style = TitleStyle::credits;
  t.text = "Credits";
  for (int i = 0; i < 20; ++i) t.text += "\n\nRole " + std::to_string(i) + "\nFirst Person\nSecond Person";
  return t;
}

// A fresh renderer each time: layout and drawing, no cache.
void BM_LowerThirdLayout(benchmark::State& state) {
  const TitleSpec title = lowerThird();
  for (auto _ : state) {
    TitleRenderer renderer;
    benchmark::DoNotOptimize(renderer.still(title, 1920, 1080));
  }
}
BENCHMARK(BM_LowerThirdLayout)->Unit(benchmark::kMillisecond);

void BM_CentredTitleLayout(benchmark::State& state) {
  TitleSpec title = lowerThird();
  title.style = TitleStyle::centered;
  title.text = "The Long Way Home, a film about getting there eventually";
  for (auto _ : state) {
    TitleRenderer renderer;
    benchmark::DoNotOptimize(renderer.still(title, 1920, 1080));
  }
}
BENCHMARK(BM_CentredTitleLayout)->Unit(benchmark::kMillisecond);

void BM_CaptionLayout(benchmark::State& state) {
  CaptionStyle style;
  style.box = state.range(0) != 0;
  const std::string text = "A caption long enough to wrap onto a second line at this size, as they do";
  for (auto _ : state) {
    TitleRenderer renderer;
    benchmark::DoNotOptimize(renderer.caption(text, style, 1920, 1080));
  }
}
BENCHMARK(BM_CaptionLayout)->Arg(1)->Arg(0)->ArgName("box")->Unit(benchmark::kMillisecond);

void BM_CreditsSheet(benchmark::State& state) {
  const TitleSpec title = credits();
  for (auto _ : state) {
    TitleRenderer renderer;
    benchmark::DoNotOptimize(renderer.credits(title, 1920));
  }
}
BENCHMARK(BM_CreditsSheet)->Unit(benchmark::kMillisecond);

// What every frame of a playing title clip costs once its picture is cached.
void BM_StillFrameCached(benchmark::State& state) {
  const TitleSpec title = lowerThird();
  TitleRenderer renderer;
  renderer.still(title, 1920, 1080);
  for (auto _ : state) benchmark::DoNotOptimize(renderer.image(title, 1920, 1080, 100, 300));
}
BENCHMARK(BM_StillFrameCached);

void BM_StillFrameFading(benchmark::State& state) {
  const TitleSpec title = lowerThird();
  TitleRenderer renderer;
  renderer.still(title, 1920, 1080);
  for (auto _ : state) benchmark::DoNotOptimize(renderer.image(title, 1920, 1080, 3, 300));
}
BENCHMARK(BM_StillFrameFading)->Unit(benchmark::kMillisecond);

void BM_CreditsRollFrame(benchmark::State& state) {
  const TitleSpec title = credits();
  TitleRenderer renderer;
  renderer.credits(title, 1920);
  std::int64_t frame = 20;
  for (auto _ : state) {
    benchmark::DoNotOptimize(renderer.image(title, 1920, 1080, frame, 600));
    frame = frame % 500 + 20;
  }
}
BENCHMARK(BM_CreditsRollFrame)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace brevelan

int main(int argc, char** argv) {
  brevelan::ensureGuiEnvironment();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
