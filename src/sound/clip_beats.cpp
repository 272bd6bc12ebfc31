#include "sound/clip_beats.h"

#include "sound/beat_detector.h"

namespace brevelan {
namespace {

constexpr double kMinGap = 0.25;  // 240 BPM at most

}  // namespace

std::vector<double> clipBeats(const Mixer& mixer, const BrevSequence& seq, const Uuid& clip) {
  for (const Track& track : seq.audio) {
    for (std::size_t i = 0; i < track.clips.size(); ++i) {
      const Clip& c = track.clips[i];
      if (c.id != clip) continue;
      const Clip* prev = i > 0 ? &track.clips[i - 1] : nullptr;
      const Clip* next = i + 1 < track.clips.size() ? &track.clips[i + 1] : nullptr;
      const std::int64_t from = Mixer::sampleAt(seq.rate, c.start);
      const std::int64_t count = Mixer::sampleAt(seq.rate, c.start + c.duration) - from;
      if (count <= 0) return {};
      std::vector<float> buffer(static_cast<std::size_t>(2 * count), 0.0f);
      mixer.addClip(c, prev, next, seq, buffer, from, count, 0);
      return BeatDetector::beats(buffer, kMinGap);
    }
  }
  return {};
}

}  // namespace brevelan
