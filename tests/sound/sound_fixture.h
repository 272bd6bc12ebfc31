#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <numbers>
#include <random>
#include <span>
#include <vector>

#include "sound/mixer.h"

namespace brevelan::testing {

constexpr std::int64_t kSecond = 48000;

// A stereo sine whose peak is `amplitudeDB`, or uniform noise of that peak when hz is 0.
inline std::vector<float> tone(double amplitudeDB, double hz, std::int64_t frames) {
  const double a = std::pow(10.0, amplitudeDB / 20);
  std::mt19937 random(7);
  std::uniform_real_distribution<double> u(-1, 1);
  std::vector<float> out(static_cast<std::size_t>(2 * frames));
  for (std::int64_t n = 0; n < frames; ++n) {
    const double x = hz > 0 ? std::sin(2 * std::numbers::pi * hz * static_cast<double>(n) / kSecond) : u(random);
    out[2 * n] = out[2 * n + 1] = static_cast<float>(a * x);
  }
  return out;
}

// Peak level in dB of one channel (0 left, 1 right) over frames from … to − 1; NaN or inf fails loudly.
inline double peakDB(std::span<const float> s, std::int64_t from, std::int64_t to, int channel = 0) {
  float peak = 1e-20f;
  for (std::int64_t n = from; n < to; ++n) {
    if (!std::isfinite(s[2 * n + channel])) return 1e9;
    peak = std::max(peak, std::abs(s[2 * n + channel]));
  }
  return 20 * std::log10(peak);
}

constexpr std::int64_t kFrame = 1600;  // samples per frame at 30 fps

class FakeSound : public SoundProvider {
 public:
  std::shared_ptr<const PCMSource> sound(const MediaItem& item) override { return sources[item.id]; }
  std::map<Uuid, std::shared_ptr<const PCMSource>> sources;
};

// 30 fps; A1 holds a 2 s clip of a 1 kHz −6 dB tone (3 s of source).
struct MixFixture {
  FakeSound sound;
  Project project = Project::make();
  Uuid toneID = addMedia(tone(-6, 1000, 3 * kSecond));

  MixFixture() { track(0).clips.push_back(toneClip(0, 60)); }
  Uuid addMedia(std::vector<float> samples, bool hasAudio = true) {
    MediaItem item;
    item.id = Uuid::make();
    item.hasAudio = hasAudio;
    auto pcm = std::make_shared<PCMSource>();
    pcm->frames = static_cast<std::int64_t>(samples.size() / 2);
    pcm->data = std::move(samples);
    sound.sources[item.id] = pcm;
    project.media.push_back(item);
    return item.id;
  }
  Clip toneClip(std::int64_t start, std::int64_t duration, std::int64_t in = 0) const {
    return Clip::make(ClipSource::media(toneID), "tone", start, duration, in, 90);
  }
  BrevSequence& seq() { return *project.mutableActiveSequence(); }
  Track& track(std::size_t i) { return seq().audio.mut(i); }
  Clip& clip(std::size_t i = 0) { return track(0).clips.mut(i); }
  AudioFX& fx() { return clip().audio.mut(); }
  std::vector<float> mix(std::int64_t from, std::int64_t count) {
    return Mixer(project, sound).renderMix(*project.activeSequence(), from, count);
  }
  double level(std::int64_t from, std::int64_t to, int channel = 0) {
    return peakDB(mix(from, to - from), 0, to - from, channel);
  }
};

}  // namespace brevelan::testing
