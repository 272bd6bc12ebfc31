// Sound speed: the full mix of a sequence of four audio tracks, each with ten
// 3-second clips (crossfades between them), plain and with every clip effect on,
// in seconds of sound rendered per second. Playback needs well above 1.
#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <memory>
#include <numbers>

#include "sound/compressor.h"
#include "sound/eq.h"
#include "sound/noise_gate.h"
#include "sound/mixer.h"

namespace {

using namespace brevelan;

constexpr std::int64_t kRate = 48000;

class Synthetic : public SoundProvider {
 public:
  Synthetic() {
    auto pcm = std::make_shared<PCMSource>();
    pcm->frames = 60 * kRate;
    pcm->data.resize(static_cast<std::size_t>(2 * pcm->frames));
    for (std::int64_t n = 0; n < pcm->frames; ++n)
      pcm->data[2 * n] = pcm->data[2 * n + 1] =
          static_cast<float>(0.3 * std::sin(2 * std::numbers::pi * 220 * static_cast<double>(n) / kRate));
    source_ = pcm;
  }
  std::shared_ptr<const PCMSource> sound(const MediaItem&) override { return source_; }

 private:
  std::shared_ptr<const PCMSource> source_;
};

// `tracks` audio tracks of `clips` clips of `length` frames each, joined by
// crossfades, all reading the synthetic tone; every clip fades in and has
// volume keys, and with `effects` all ten EQ bands, the gate and the compressor.
Project makeProject(std::size_t tracks, int clips, std::int64_t length, bool effects) {
  Project project = Project::make();
  MediaItem item;
  item.id = Uuid::make();
  item.hasAudio = true;
  item.duration = 60;
  project.media.push_back(item);
  BrevSequence& seq = *project.mutableActiveSequence();
  while (seq.audio.size() < tracks) seq.audio.push_back(Track::make(TrackKind::audio, "A"));
  for (std::size_t t = 0; t < seq.audio.size(); ++t) {
    for (int c = 0; c < clips; ++c) {
      Clip clip = Clip::make(ClipSource::media(item.id), "tone", c * length, length, 60, 1800);
      if (c > 0) clip.transitionIn = Transition{};
      AudioFX& fx = clip.audio.mut();
      fx.fadeIn = 5;
      fx.volumeKeys.set(0, -3);
      fx.volumeKeys.set(60, 0);
      fx.eqOn = fx.gateOn = fx.compOn = effects;
      fx.eq = {3, -2, 1, 2, 4, -6, 2, 1, 1, 5};
      fx.gateThresholdDB = -50;
      fx.compThresholdDB = -18;
      fx.compRatio = 3;
      seq.audio.mut(t).clips.push_back(clip);
    }
  }
  return project;
}

void BM_MixWholeSequence(benchmark::State& state) {
  Synthetic sound;
  const Project project = makeProject(4, 10, 90, state.range(0) != 0);
  const Mixer mixer(project, sound);
  const BrevSequence& seq = *project.activeSequence();
  const std::int64_t frames = Mixer::sampleCount(seq);
  for (auto _ : state) benchmark::DoNotOptimize(mixer.renderMix(seq, 0, frames));
  state.counters["x realtime"] =
      benchmark::Counter(static_cast<double>(frames) / kRate, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_MixWholeSequence)->Arg(0)->Arg(1)->ArgName("effects")->Unit(benchmark::kMillisecond);

void BM_EQTenBands(benchmark::State& state) {
  std::vector<float> buffer(2 * 10 * kRate, 0.25f);
  const std::vector<double> gains{3, -2, 1, 2, 4, -6, 2, 1, 1, 5};
  for (auto _ : state) applyEQ(gains, buffer);
  state.counters["x realtime"] = benchmark::Counter(10, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_EQTenBands)->Unit(benchmark::kMillisecond);

// The dynamics effects alone over 10 s of a tone above the compressor's threshold.
void BM_GateAndCompressor(benchmark::State& state) {
  std::vector<float> buffer(2 * 10 * kRate);
  for (std::size_t n = 0; n < buffer.size(); ++n)
    buffer[n] = static_cast<float>(0.3 * std::sin(2 * std::numbers::pi * 220 * static_cast<double>(n / 2) / kRate));
  for (auto _ : state) {
    NoiseGate gate(-50);
    Compressor compressor(-18, 3, 0);
    if (state.range(0) == 0) gate.process(buffer, 0, 10 * kRate);
    else compressor.process(buffer, 0, 10 * kRate);
  }
  state.counters["x realtime"] = benchmark::Counter(10, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_GateAndCompressor)->Arg(0)->Arg(1)->ArgName("compressor")->Unit(benchmark::kMillisecond);

// The target load: 8 tracks × 60 s, four 15-second clips per track joined by
// crossfades, every clip with all ten EQ bands, the gate and the compressor.
void BM_EightTracksAllEffects(benchmark::State& state) {
  Synthetic sound;
  const Project project = makeProject(8, 4, 450, true);
  const BrevSequence& seq = *project.activeSequence();
  const Mixer mixer(project, sound);
  const std::int64_t frames = Mixer::sampleCount(seq);
  for (auto _ : state) benchmark::DoNotOptimize(mixer.renderMix(seq, 0, frames));
  state.counters["x realtime"] =
      benchmark::Counter(static_cast<double>(frames) / kRate, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_EightTracksAllEffects)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
