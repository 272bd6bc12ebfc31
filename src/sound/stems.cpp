#include "sound/stems.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <system_error>

#include "media/caf_file.h"
#include "model/app_folders.h"
#include "model/json_writer.h"
#include "model/project_coding.h"
#include "sound/peaks.h"

namespace brevelan {
namespace {

constexpr std::int64_t kPeakFrames = 480;
constexpr double kTopOfFader = 4.0;  // +12 dB

class Fnv1a {
 public:
  void add(std::string_view bytes) {
    for (const char c : bytes) {
      hash_ ^= static_cast<unsigned char>(c);
      hash_ *= 0x100000001b3ULL;
    }
    hash_ ^= 0xff;  // a separator, so "ab"+"c" and "a"+"bc" differ
    hash_ *= 0x100000001b3ULL;
  }
  void add(std::int64_t number) { add(std::to_string(number)); }
  std::uint64_t value() const { return hash_; }

 private:
  std::uint64_t hash_ = 0xcbf29ce484222325ULL;
};

template <typename Record>
std::string compactJSON(const Record& record) {
  JsonWriter writer(JsonWriter::Layout::compact);
  coding::write(writer, record);
  return writer.take();
}

// A replaced or edited media file sounds different under the same path.
void addFileFacts(Fnv1a& hash, const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  hash.add(error ? std::int64_t{-1} : static_cast<std::int64_t>(size));
  const auto time = std::filesystem::last_write_time(path, error);
  hash.add(error ? std::int64_t{-1} : static_cast<std::int64_t>(time.time_since_epoch().count()));
}

void addSources(Fnv1a& hash, const Track& track, const Project& project, int depth) {
  for (const Clip& clip : track.clips) {
    if (const Uuid* media = clip.source.mediaID()) {
      if (const MediaItem* item = project.mediaItem(*media)) {
        hash.add(compactJSON(*item));
        addFileFacts(hash, item->path);
      } else {
        hash.add("missing media");
      }
    } else if (const Uuid* nested = clip.source.nestedID()) {
      const BrevSequence* inner = project.sequence(*nested);
      if (!inner || depth >= Mixer::kMaxDepth) {
        hash.add("silent nest");
        continue;
      }
      hash.add(compactJSON(*inner));
      for (const Track& innerTrack : inner->audio) addSources(hash, innerTrack, project, depth + 1);
    }
  }
}

}  // namespace

std::uint64_t stemKey(const BrevSequence& seq, const Track& track, const Project& project) {
  // The fader, pan, mute and solo act at playback, so moving them keeps the stem.
  Track audible = track;
  audible.name.clear();
  audible.muted = audible.solo = audible.locked = false;
  audible.volumeDB = audible.pan = 0;
  Fnv1a hash;
  hash.add("stem 1");
  hash.add(seq.rate.num);
  hash.add(seq.rate.den);
  hash.add(Mixer::sampleCount(seq));
  hash.add(compactJSON(audible));
  addSources(hash, track, project, 0);
  return hash.value();
}

StemCache::StemCache(std::filesystem::path folder) : folder_(std::move(folder)) {}

StemCache& StemCache::shared() {
  static StemCache cache(AppFolders::mixCache());
  return cache;
}

Expected<Stem, std::string> StemCache::stem(const Mixer& mixer, const BrevSequence& seq, const Track& track) {
  const std::uint64_t key = stemKey(seq, track, mixer.project());
  {
    std::lock_guard guard(lock_);
    if (auto it = stems_.find(key); it != stems_.end()) {
      std::error_code error;
      if (std::filesystem::exists(it->second.url, error)) return it->second;
      stems_.erase(it);  // someone cleared the folder: render again
    }
  }
  char name[32];
  std::snprintf(name, sizeof name, "%016llx.caf", static_cast<unsigned long long>(key));
  Stem stem;
  stem.url = folder_ / name;

  const std::vector<float> samples = mixer.renderTrack(seq, track, 0, Mixer::sampleCount(seq));
  std::error_code error;
  std::filesystem::create_directories(folder_, error);
  if (auto written = writeCAF(samples, stem.url); !written) return Unexpected{written.error()};
  StereoPeaks levels = peaks(samples, kPeakFrames);
  stem.peaksL = std::move(levels.left);
  stem.peaksR = std::move(levels.right);

  std::lock_guard guard(lock_);
  ++renders_;
  stems_[key] = stem;
  return stem;
}

std::int64_t StemCache::renders() const {
  std::lock_guard guard(lock_);
  return renders_;
}

std::vector<TrackVolume> makeAudioMix(const BrevSequence& seq) {
  const std::vector<double> gains = Mixer::trackGains(seq);
  std::vector<TrackVolume> volumes;
  for (std::size_t t = 0; t < seq.audio.size(); ++t)
    volumes.push_back({seq.audio[t].id, std::min(gains[t], kTopOfFader)});
  return volumes;
}

Meters meterLevels(const BrevSequence& seq, const std::vector<Stem>& stems, double seconds) {
  Meters meters;
  // What the player plays: a muted track's meter stays down.
  const std::vector<TrackVolume> volumes = makeAudioMix(seq);
  const auto index = static_cast<std::int64_t>(std::floor(seconds * 100));
  for (std::size_t t = 0; t < seq.audio.size(); ++t) {
    MeterLevel level;
    if (t < stems.size() && index >= 0) {
      const Stem& stem = stems[t];
      const auto gain = static_cast<float>(volumes[t].volume);
      const auto i = static_cast<std::size_t>(index);
      if (i < stem.peaksL.size()) level.left = stem.peaksL[i] * gain;
      if (i < stem.peaksR.size()) level.right = stem.peaksR[i] * gain;
    }
    meters.master.left = std::max(meters.master.left, level.left);
    meters.master.right = std::max(meters.master.right, level.right);
    meters.tracks.push_back(level);
  }
  return meters;
}

}  // namespace brevelan
