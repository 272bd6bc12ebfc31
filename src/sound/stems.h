#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "model/expected.h"
#include "model/project.h"
#include "sound/mixer.h"

namespace brevelan {

// One audio track rendered alone at full level, as a file the player plays.
// Its fader, pan, mute and solo are not in it: the player applies them live.
struct Stem {
  std::filesystem::path url;
  std::vector<float> peaksL;  // one per 480 frames (100 a second)
  std::vector<float> peaksR;
};

// 64-bit FNV-1a over everything audible in the track (its clips and their
// settings, the sequence's rate and length) and what its clips draw on (each
// media item with its file's size and time, each nested sequence whole).
std::uint64_t stemKey(const BrevSequence& seq, const Track& track, const Project& project);

// Stems by key, in memory and in a folder ("Mix Cache"): a stem is rendered
// once and reused while its file exists. Thread-safe; rendering and writing
// happen outside the lock.
class StemCache {
 public:
  explicit StemCache(std::filesystem::path folder);
  // The cache in the application's "Mix Cache" folder.
  static StemCache& shared();

  Expected<Stem, std::string> stem(const Mixer& mixer, const BrevSequence& seq, const Track& track);
  // Stems rendered so far (an unchanged track asked again must not add one).
  std::int64_t renders() const;
  const std::filesystem::path& folder() const { return folder_; }

 private:
  std::filesystem::path folder_;
  mutable std::mutex lock_;
  std::map<std::uint64_t, Stem> stems_;
  std::int64_t renders_ = 0;
};

// How loud the player plays each stem: master × fader, at most +12 dB, 0 when
// muted or when another track is soloed.
struct TrackVolume {
  Uuid track;
  double volume = 0;
  friend bool operator==(const TrackVolume&, const TrackVolume&) = default;
};
std::vector<TrackVolume> makeAudioMix(const BrevSequence& seq);

// Meter values while playing: each track's stem peaks at `seconds` at the
// track's playback volume (after master and fader, down when muted); the
// master meter shows the loudest track.
struct MeterLevel {
  float left = 0;
  float right = 0;
};
struct Meters {
  std::vector<MeterLevel> tracks;  // in the order of seq.audio
  MeterLevel master;
};
Meters meterLevels(const BrevSequence& seq, const std::vector<Stem>& stems, double seconds);

}  // namespace brevelan
