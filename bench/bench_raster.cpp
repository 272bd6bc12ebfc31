// Raster speed at 1080p, in milliseconds per frame: the drawing steps an
// export runs for every frame next to decoding and encoding (30 fps leaves
// 33 ms for all of it on two cores).
#include <benchmark/benchmark.h>

#include <cstdint>

#include "picture/layer_geometry.h"
#include "picture/raster.h"
#include "picture/reframe.h"
#include "picture/transitions.h"

namespace {

using namespace brevelan;

// An opaque picture with detail everywhere (no flat areas to flatter the
// resampler or the opaque-row checks).
Picture pattern(int w, int h) {
  Picture p(w, h, PixelOrder::rgba);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      std::uint8_t* q = p.row(y) + static_cast<std::size_t>(x) * 4;
      q[0] = static_cast<std::uint8_t>(x * 7 + y);
      q[1] = static_cast<std::uint8_t>(x ^ y);
      q[2] = static_cast<std::uint8_t>(y * 3);
      q[3] = 255;
    }
  return p;
}

void BM_DrawOverIdentityOpaque(benchmark::State& state) {
  const Picture src = pattern(1920, 1080);
  Picture dst = pattern(1920, 1080);
  for (auto _ : state) drawOver(dst, src, Affine{}, 1);
}
BENCHMARK(BM_DrawOverIdentityOpaque)->Unit(benchmark::kMillisecond);

// A clip at half opacity: every row is blended.
void BM_DrawOverIdentityHalfOpacity(benchmark::State& state) {
  const Picture src = pattern(1920, 1080);
  Picture dst = pattern(1920, 1080);
  for (auto _ : state) drawOver(dst, src, Affine{}, 0.5);
}
BENCHMARK(BM_DrawOverIdentityHalfOpacity)->Unit(benchmark::kMillisecond);

// A 4K source on a 1080p canvas (the exact 2 × 2 shrink).
void BM_DrawOver4KFit(benchmark::State& state) {
  const Picture src = pattern(3840, 2160);
  Picture dst = pattern(1920, 1080);
  const Affine place = clipPlacement(Transform{}, 3840, 2160, 1920, 1080, 0);
  for (auto _ : state) drawOver(dst, src, place, 1);
}
BENCHMARK(BM_DrawOver4KFit)->Unit(benchmark::kMillisecond);

// A 720p source enlarged to fill a 1080p canvas (separable bilinear).
void BM_DrawOver720pFit(benchmark::State& state) {
  const Picture src = pattern(1280, 720);
  Picture dst = pattern(1920, 1080);
  const Affine place = clipPlacement(Transform{}, 1280, 720, 1920, 1080, 0);
  for (auto _ : state) drawOver(dst, src, place, 1);
}
BENCHMARK(BM_DrawOver720pFit)->Unit(benchmark::kMillisecond);

// A 1080p picture at 40 %, turned 15°, in the top-right corner, 90 % opaque.
void BM_PictureInPicture(benchmark::State& state) {
  const Picture src = pattern(1920, 1080);
  Picture dst = pattern(1920, 1080);
  Transform t;
  t.scale = 0.4;
  t.rotation = 15;
  t.x = 500;
  t.y = 250;
  t.opacity = 0.9;
  const Affine place = clipPlacement(t, 1920, 1080, 1920, 1080, 0);
  for (auto _ : state) drawOver(dst, src, place, t.opacity);
}
BENCHMARK(BM_PictureInPicture)->Unit(benchmark::kMillisecond);

void BM_Transition(benchmark::State& state) {
  const Picture a = pattern(1920, 1080), b = pattern(1920, 1080);
  Transition t;
  t.kind = static_cast<TransitionKind>(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(blendTransition(t, &a, &b, 0.37, 1920, 1080));
  state.SetLabel(std::string(text(t.kind)));
}
BENCHMARK(BM_Transition)->DenseRange(0, 5)->ArgName("kind")->Unit(benchmark::kMillisecond);

void BM_ReframeFitBlurToPortrait(benchmark::State& state) {
  const Picture canvas = pattern(1920, 1080);
  for (auto _ : state) benchmark::DoNotOptimize(reframe(canvas, 1080, 1920, Reframe::fitBlur));
}
BENCHMARK(BM_ReframeFitBlurToPortrait)->Unit(benchmark::kMillisecond);

void BM_GaussianBlurFullSize(benchmark::State& state) {
  Picture p = pattern(1920, 1080);
  for (auto _ : state) gaussianBlur(p, 32.4);
}
BENCHMARK(BM_GaussianBlurFullSize)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
