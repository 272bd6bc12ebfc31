#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "media/audio_cache.h"
#include "model/project.h"
#include "sound/sound_provider.h"

namespace brevelan {

// Renders the sound of sequences sample by sample: interleaved stereo 32-bit
// float at 48 000 Hz, frame n lying at n / 48000 s from the sequence start.
// Playback stems and the exported mix both come from here, so what is heard
// is what is exported. A Mixer only reads the project; one object may render
// on several threads at once when its provider allows it.
class Mixer {
 public:
  static constexpr std::int64_t kRate = 48000;
  static constexpr int kMaxDepth = 8;  // deeper nested sequences are silent

  explicit Mixer(const Project& project, SoundProvider& provider);
  // Reads media through AudioCache::shared().
  explicit Mixer(const Project& project);

  // Frames from … from + count − 1 of the full mix: 2 × count floats.
  std::vector<float> renderMix(const BrevSequence& seq, std::int64_t from, std::int64_t count, int depth = 0) const;

  // One track alone at full level (no fader, pan, mute or solo), as a stem holds it.
  std::vector<float> renderTrack(const BrevSequence& seq, const Track& track, std::int64_t from,
                                 std::int64_t count, int depth = 0) const;

  // Renders one clip and adds it into `into`, a track buffer of frames
  // from … from + count − 1. prev and next are its neighbours on the track.
  void addClip(const Clip& clip, const Clip* prev, const Clip* next, const BrevSequence& seq, std::span<float> into,
               std::int64_t from, std::int64_t count, int depth) const;

  // The sound a clip plays: its media's, or a nested sequence's whole mix.
  std::shared_ptr<const PCMSource> source(const Clip& clip, int depth) const;

  // Frames of a sequence's sound: round(max(duration, 1) seconds × 48000).
  static std::int64_t sampleCount(const BrevSequence& seq);
  // The sample frame where sequence frame `frame` begins, rounded to nearest.
  static std::int64_t sampleAt(const FrameRate& rate, std::int64_t frame);
  // A track's level in the mix: master × fader, 0 when muted or when another
  // track is soloed. Neither the mix nor the player's volumes count it twice.
  static std::vector<double> trackGains(const BrevSequence& seq);

  const Project& project() const { return project_; }

 private:
  // Track gain and balance are linear, so they are folded into each clip's
  // own level: the clips go straight into the mix, with no track buffer.
  struct Balance {
    float left = 1;
    float right = 1;
  };
  void addTrack(const BrevSequence& seq, const Track& track, std::span<float> into, std::int64_t from,
                std::int64_t count, int depth, Balance balance) const;
  void addClip(const Clip& clip, const Clip* prev, const Clip* next, const BrevSequence& seq, std::span<float> into,
               std::int64_t from, std::int64_t count, int depth, Balance balance) const;

  const Project& project_;
  SoundProvider& provider_;
};

}  // namespace brevelan
