#include "sound/mixer.h"

#include <cmath>

#include "model/rounding.h"

namespace brevelan {
namespace {

SoundProvider& cachedProvider() {
  static CachedSoundProvider provider;
  return provider;
}

double dbToGain(double dB) { return std::pow(10.0, dB / 20); }

}  // namespace

Mixer::Mixer(const Project& project, SoundProvider& provider) : project_(project), provider_(provider) {}

Mixer::Mixer(const Project& project) : Mixer(project, cachedProvider()) {}

std::int64_t Mixer::sampleCount(const BrevSequence& seq) {
  return sampleAt(seq.rate, std::max<std::int64_t>(seq.duration(), 1));
}

std::int64_t Mixer::sampleAt(const FrameRate& rate, std::int64_t frame) {
  return roundHalfAway(static_cast<double>(rate.den) * static_cast<double>(frame) / static_cast<double>(rate.num) *
                       kRate);
}

std::vector<double> Mixer::trackGains(const BrevSequence& seq) {
  bool anySolo = false;
  for (const Track& track : seq.audio) anySolo = anySolo || track.solo;
  const double master = dbToGain(seq.masterDB);
  std::vector<double> gains;
  for (const Track& track : seq.audio) {
    const bool silent = track.muted || (anySolo && !track.solo);
    gains.push_back(silent ? 0.0 : master * dbToGain(track.volumeDB));
  }
  return gains;
}

void Mixer::addTrack(const BrevSequence& seq, const Track& track, std::span<float> into, std::int64_t from,
                     std::int64_t count, int depth, Balance balance) const {
  const std::size_t clips = track.clips.size();
  for (std::size_t i = 0; i < clips; ++i) {
    const Clip* prev = i > 0 ? &track.clips[i - 1] : nullptr;
    const Clip* next = i + 1 < clips ? &track.clips[i + 1] : nullptr;
    addClip(track.clips[i], prev, next, seq, into, from, count, depth, balance);
  }
}

std::vector<float> Mixer::renderTrack(const BrevSequence& seq, const Track& track, std::int64_t from,
                                      std::int64_t count, int depth) const {
  std::vector<float> buffer(static_cast<std::size_t>(2 * std::max<std::int64_t>(count, 0)), 0.0f);
  if (count > 0) addTrack(seq, track, buffer, from, count, depth, Balance{});
  return buffer;
}

std::vector<float> Mixer::renderMix(const BrevSequence& seq, std::int64_t from, std::int64_t count,
                                    int depth) const {
  std::vector<float> mix(static_cast<std::size_t>(2 * std::max<std::int64_t>(count, 0)), 0.0f);
  if (count <= 0) return mix;
  const std::vector<double> gains = trackGains(seq);
  for (std::size_t t = 0; t < seq.audio.size(); ++t) {
    const Track& track = seq.audio[t];
    const double gain = gains[t];
    if (!(gain > 0)) continue;
    // Linear balance: the far side is turned down, the near side keeps its level.
    const double pan = track.pan;
    addTrack(seq, track, mix, from, count, depth,
             Balance{static_cast<float>(gain * (pan > 0 ? 1 - pan : 1)), static_cast<float>(gain * (pan < 0 ? 1 + pan : 1))});
  }
  return mix;
}

std::shared_ptr<const PCMSource> Mixer::source(const Clip& clip, int depth) const {
  if (const Uuid* media = clip.source.mediaID()) {
    const MediaItem* item = project_.mediaItem(*media);
    if (!item || !item->hasAudio) return nullptr;
    return provider_.sound(*item);
  }
  if (const Uuid* nested = clip.source.nestedID()) {
    if (depth >= kMaxDepth) return nullptr;
    const BrevSequence* inner = project_.sequence(*nested);
    if (!inner) return nullptr;
    const double seconds = inner->rate.seconds(inner->duration());
    auto pcm = std::make_shared<PCMSource>();
    pcm->frames = static_cast<std::int64_t>(std::trunc(seconds * kRate)) + 1;
    pcm->data = renderMix(*inner, 0, pcm->frames, depth + 1);
    return pcm;
  }
  return nullptr;
}

}  // namespace brevelan
