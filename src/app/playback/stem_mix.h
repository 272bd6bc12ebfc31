#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "model/expected.h"
#include "model/sequence.h"
#include "sound/stems.h"

namespace brevelan {

// One stem's samples (interleaved stereo float, 48 kHz). A plain CAF of
// little-endian floats is mapped from disk, so an hour-long track costs no
// memory; anything else is decoded whole.
class StemSamples {
 public:
  static Expected<std::shared_ptr<const StemSamples>, std::string> open(const std::filesystem::path& file);
  // Samples already in memory (tests, and the fallback).
  explicit StemSamples(std::vector<float> interleaved);
  ~StemSamples();
  StemSamples(const StemSamples&) = delete;
  StemSamples& operator=(const StemSamples&) = delete;

  std::int64_t frames() const { return frames_; }
  // Copies stereo frames from … from + count − 1 (which must exist) into `out`.
  void copy(std::int64_t from, std::int64_t count, float* out) const;
  bool mapped() const { return mapping_ != nullptr; }

 private:
  StemSamples() = default;
  std::vector<float> owned_;
  void* mapping_ = nullptr;
  std::size_t mappingBytes_ = 0;
  // Not float-aligned in a mapped file: the CAF header is 130 bytes long.
  const std::uint8_t* data_ = nullptr;
  std::int64_t frames_ = 0;
};

// What one stem plays at: its track's volume with the track's balance.
struct StemGain {
  float left = 0;
  float right = 0;
  friend bool operator==(const StemGain&, const StemGain&) = default;
};

// Pan is a linear balance: to the right turns the left channel down, to the
// left turns the right down; the near side keeps the full volume.
StemGain stemGain(double volume, double pan);

// The gain of each stem of a build from the sequence as it is now. Stem t
// belongs to the track the build's mix names at t (falling back to the t-th
// audio track of the sequence); a track the sequence no longer has is silent.
std::vector<StemGain> stemGains(const std::vector<TrackVolume>& buildMix, const BrevSequence& seq);

// The live mix the sound device pulls: the stems of the current build at
// their gains, from a sample position that moves on as it is read.
// Thread-safe: the device may pull on a thread of its own.
class StemMixer {
 public:
  void setStems(std::vector<std::shared_ptr<const StemSamples>> stems);
  // New gains take over across the next block read, without a click.
  void setGains(std::vector<StemGain> gains);
  void seek(std::int64_t sampleFrame);
  std::int64_t position() const;
  std::vector<StemGain> gains() const;
  // Mixes the next out.size() / 2 stereo frames; silence where no stem sounds.
  void read(std::span<float> out);

 private:
  mutable std::mutex lock_;
  std::vector<std::shared_ptr<const StemSamples>> stems_;
  std::vector<StemGain> target_;
  std::vector<StemGain> current_;
  std::vector<float> scratch_;
  std::int64_t position_ = 0;
};

}  // namespace brevelan
