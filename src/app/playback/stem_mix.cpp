#include "app/playback/stem_mix.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "media/audio_reader.h"

namespace brevelan {
namespace {

std::uint64_t bigEndian(const std::uint8_t* bytes, int count) {
  std::uint64_t value = 0;
  for (int i = 0; i < count; ++i) value = (value << 8) | bytes[i];
  return value;
}

// Where the samples of a CAF of interleaved stereo little-endian 32-bit
// floats at 48 kHz lie in the file; {0, 0} for any other kind of file.
std::pair<std::size_t, std::size_t> floatStereoData(const std::uint8_t* file, std::size_t size) {
  if (size < 8 || std::memcmp(file, "caff", 4) != 0) return {0, 0};
  bool described = false;
  std::size_t at = 8;
  while (at + 12 <= size) {
    const std::uint8_t* chunk = file + at;
    const auto length = static_cast<std::int64_t>(bigEndian(chunk + 4, 8));
    const std::size_t body = at + 12;
    if (std::memcmp(chunk, "desc", 4) == 0) {
      if (length < 32 || body + 32 > size) return {0, 0};
      const std::uint8_t* d = file + body;
      const double rate = std::bit_cast<double>(bigEndian(d, 8));
      const bool floats = (bigEndian(d + 12, 4) & 1) != 0;
      const bool little = (bigEndian(d + 12, 4) & 2) != 0;
      described = std::memcmp(d + 8, "lpcm", 4) == 0 && rate == 48000 && floats && little &&
                  bigEndian(d + 16, 4) == 8 && bigEndian(d + 20, 4) == 1 && bigEndian(d + 24, 4) == 2 &&
                  bigEndian(d + 28, 4) == 32;
    } else if (std::memcmp(chunk, "data", 4) == 0) {
      if (!described || body + 4 > size) return {0, 0};
      // A length of −1 means the data runs to the end of the file.
      const std::size_t end = length < 0 ? size : std::min(size, body + static_cast<std::size_t>(length));
      return {body + 4, end > body + 4 ? end - body - 4 : 0};
    }
    if (length < 0) return {0, 0};
    at = body + static_cast<std::size_t>(length);
  }
  return {0, 0};
}

}  // namespace

StemSamples::StemSamples(std::vector<float> interleaved)
    : owned_(std::move(interleaved)),
      data_(reinterpret_cast<const std::uint8_t*>(owned_.data())),
      frames_(static_cast<std::int64_t>(owned_.size() / 2)) {}

StemSamples::~StemSamples() {
  if (mapping_) ::munmap(mapping_, mappingBytes_);
}

Expected<std::shared_ptr<const StemSamples>, std::string> StemSamples::open(const std::filesystem::path& file) {
  static_assert(std::endian::native == std::endian::little);
  const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd >= 0) {
    struct stat info {};
    void* mapping = MAP_FAILED;
    if (::fstat(fd, &info) == 0 && info.st_size > 0)
      mapping = ::mmap(nullptr, static_cast<std::size_t>(info.st_size), PROT_READ, MAP_SHARED, fd, 0);
    ::close(fd);
    if (mapping != MAP_FAILED) {
      std::shared_ptr<StemSamples> samples(new StemSamples());
      samples->mapping_ = mapping;
      samples->mappingBytes_ = static_cast<std::size_t>(info.st_size);
      const auto* bytes = static_cast<const std::uint8_t*>(mapping);
      const auto [offset, length] = floatStereoData(bytes, samples->mappingBytes_);
      if (offset != 0) {
        samples->data_ = bytes + offset;
        samples->frames_ = static_cast<std::int64_t>(length / (2 * sizeof(float)));
        ::madvise(mapping, samples->mappingBytes_, MADV_SEQUENTIAL);
        return std::shared_ptr<const StemSamples>(std::move(samples));
      }
    }
  }
  auto decoded = decodeSound(file);
  if (!decoded) return Unexpected{decoded.error()};
  return std::make_shared<const StemSamples>(std::move(decoded).value());
}

void StemSamples::copy(std::int64_t from, std::int64_t count, float* out) const {
  std::memcpy(out, data_ + static_cast<std::size_t>(from) * 2 * sizeof(float),
              static_cast<std::size_t>(count) * 2 * sizeof(float));
}

StemGain stemGain(double volume, double pan) {
  pan = std::clamp(pan, -1.0, 1.0);
  const double left = pan > 0 ? 1 - pan : 1;
  const double right = pan < 0 ? 1 + pan : 1;
  return {static_cast<float>(volume * left), static_cast<float>(volume * right)};
}

std::vector<StemGain> stemGains(const std::vector<TrackVolume>& buildMix, const BrevSequence& seq) {
  const std::vector<TrackVolume> volumes = makeAudioMix(seq);
  const std::size_t count = std::max(buildMix.size(), seq.audio.size());
  std::vector<StemGain> gains(count);
  for (std::size_t t = 0; t < count; ++t) {
    const Uuid& id = t < buildMix.size() ? buildMix[t].track : seq.audio[t].id;
    for (std::size_t i = 0; i < seq.audio.size(); ++i) {
      if (seq.audio[i].id != id) continue;
      gains[t] = stemGain(volumes[i].volume, seq.audio[i].pan);
      break;
    }
  }
  return gains;
}

void StemMixer::setStems(std::vector<std::shared_ptr<const StemSamples>> stems) {
  std::lock_guard guard(lock_);
  stems_ = std::move(stems);
}

void StemMixer::setGains(std::vector<StemGain> gains) {
  std::lock_guard guard(lock_);
  target_ = std::move(gains);
}

void StemMixer::seek(std::int64_t sampleFrame) {
  std::lock_guard guard(lock_);
  position_ = std::max<std::int64_t>(sampleFrame, 0);
}

std::int64_t StemMixer::position() const {
  std::lock_guard guard(lock_);
  return position_;
}

std::vector<StemGain> StemMixer::gains() const {
  std::lock_guard guard(lock_);
  return target_;
}

void StemMixer::read(std::span<float> out) {
  std::fill(out.begin(), out.end(), 0.0f);
  std::lock_guard guard(lock_);
  const auto frames = static_cast<std::int64_t>(out.size() / 2);
  current_.resize(target_.size());
  for (std::size_t s = 0; s < stems_.size() && s < target_.size(); ++s) {
    const StemGain from = current_[s];
    const StemGain to = target_[s];
    const StemSamples* stem = stems_[s].get();
    if (!stem || (from == StemGain{} && to == StemGain{})) continue;
    const std::int64_t end = std::min(frames, stem->frames() - position_);
    if (end <= 0) continue;
    scratch_.resize(static_cast<std::size_t>(end) * 2);
    stem->copy(position_, end, scratch_.data());
    const float* in = scratch_.data();
    // A gain change ramps across the block so a fader move never clicks.
    const float step = frames > 0 ? 1.0f / static_cast<float>(frames) : 0;
    for (std::int64_t i = 0; i < end; ++i) {
      const float t = static_cast<float>(i) * step;
      out[2 * i] += in[2 * i] * (from.left + (to.left - from.left) * t);
      out[2 * i + 1] += in[2 * i + 1] * (from.right + (to.right - from.right) * t);
    }
  }
  current_ = target_;
  position_ += frames;
}

}  // namespace brevelan
