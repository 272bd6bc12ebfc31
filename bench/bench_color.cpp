// Colour speed: baking a grade into its 33³ cube (once per distinct grade),
// parsing a 33³ .cube file, and grading a 1080p frame through the prepared
// cube, which happens on every frame of an export (budget: well under 10 ms
// on one core). Frames are noise, so no run of equal pixels helps.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

#include "picture/color_grading.h"
#include "picture/cube_cache.h"
#include "picture/lut.h"

namespace {

using namespace brevelan;

ColorGrade busyGrade() {
  ColorGrade grade;
  grade.exposure = 0.3;
  grade.temperature = 0.2;
  grade.lift = {0.1, 0.05, 0.02};
  grade.gamma = {-0.1, 0.1, 0.05};
  grade.gain = {0.05, -0.05, 0.1};
  grade.contrast = 0.15;
  grade.saturation = 1.2;
  grade.master.points = {{0, 0}, {0.25, 0.2}, {0.75, 0.85}, {1, 1}};
  grade.red.points = {{0, 0.02}, {0.5, 0.55}, {1, 1}};
  return grade;
}

std::string cubeText() {
  std::string text = "TITLE \"warm\"\nLUT_3D_SIZE 33\n";
  for (int b = 0; b < 33; ++b)
    for (int g = 0; g < 33; ++g)
      for (int r = 0; r < 33; ++r)
        text += std::to_string(std::min(1.0, r / 32.0 * 1.05)) + " " + std::to_string(g / 32.0) + " " +
                std::to_string(b / 32.0 * 0.95) + "\n";
  return text;
}

Picture noiseFrame(int alphaEvery) {
  Picture picture(1920, 1080, PixelOrder::rgba);
  std::mt19937 random(1);
  for (std::size_t i = 0; i < picture.bytes(); i += 4) {
    const std::uint32_t v = random();
    std::memcpy(picture.pixels.get() + i, &v, 4);
    const int a = alphaEvery && (i / 4) % static_cast<std::size_t>(alphaEvery) == 0 ? 128 : 255;
    picture.pixels[i + 3] = static_cast<std::uint8_t>(a);
    for (int c = 0; c < 3; ++c) picture.pixels[i + static_cast<std::size_t>(c)] &= static_cast<std::uint8_t>(a);
  }
  return picture;
}

void BM_BakeGrade(benchmark::State& state) {
  const ColorGrade grade = busyGrade();
  for (auto _ : state) benchmark::DoNotOptimize(cubeData(grade));
}
BENCHMARK(BM_BakeGrade)->Unit(benchmark::kMillisecond);

void BM_BakeGradeWithLUT(benchmark::State& state) {
  const ColorGrade grade = busyGrade();
  const auto lut = LUT::parse(cubeText());
  for (auto _ : state) benchmark::DoNotOptimize(cubeData(grade, &lut.value()));
}
BENCHMARK(BM_BakeGradeWithLUT)->Unit(benchmark::kMillisecond);

void BM_PrepareCube(benchmark::State& state) {
  const auto data = cubeData(busyGrade());
  for (auto _ : state) benchmark::DoNotOptimize(ColorCube(data));
}
BENCHMARK(BM_PrepareCube)->Unit(benchmark::kMillisecond);

void BM_ParseCube33(benchmark::State& state) {
  const std::string text = cubeText();
  for (auto _ : state) benchmark::DoNotOptimize(LUT::parse(text));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_ParseCube33)->Unit(benchmark::kMillisecond);

// Gradients with a little grain: neighbouring pixels share cube cells, as in
// camera footage.
Picture smoothFrame() {
  Picture picture(1920, 1080, PixelOrder::rgba);
  std::mt19937 random(2);
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x) {
      std::uint8_t* p = picture.row(y) + x * 4;
      const int grain = static_cast<int>(random() % 7) - 3;
      p[0] = static_cast<std::uint8_t>(std::clamp(x * 255 / 1919 + grain, 0, 255));
      p[1] = static_cast<std::uint8_t>(std::clamp(y * 255 / 1079 + grain, 0, 255));
      p[2] = static_cast<std::uint8_t>(std::clamp((x + y) / 12 + grain, 0, 255));
      p[3] = 255;
    }
  return picture;
}

// arg 0: opaque noise; 1: noise with every fourth pixel half transparent;
// 2: smooth opaque picture.
void BM_Apply1080p(benchmark::State& state) {
  Picture frame = state.range(0) == 2 ? smoothFrame() : noiseFrame(state.range(0) ? 4 : 0);
  const ColorCube cube(cubeData(busyGrade()));
  for (auto _ : state) cube.apply(frame);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Apply1080p)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

void BM_Apply1080pPortable(benchmark::State& state) {
  Picture frame = noiseFrame(0);
  const ColorCube cube(cubeData(busyGrade()));
  for (auto _ : state) cube.applyPortable(frame);
}
BENCHMARK(BM_Apply1080pPortable)->Unit(benchmark::kMillisecond);

// What a frame of export pays: identity check, cache look-up by grade, apply.
void BM_CachedGrade1080p(benchmark::State& state) {
  Picture frame = noiseFrame(0);
  const ColorGrade grade = busyGrade();
  for (auto _ : state) CubeCache::shared().apply(grade, frame);
}
BENCHMARK(BM_CachedGrade1080p)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
