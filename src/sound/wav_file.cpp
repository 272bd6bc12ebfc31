#include "sound/wav_file.h"

#include <bit>
#include <cstring>
#include <limits>

namespace brevelan {
namespace {

constexpr std::uint32_t kRate = 48000;
constexpr std::uint16_t kChannels = 2;
constexpr std::uint16_t kBytesPerFrame = kChannels * 4;
constexpr std::uint32_t kHeaderSize = 58;

void put16(std::string& s, std::uint16_t v) {
  for (int i = 0; i < 2; ++i) s.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}
void put32(std::string& s, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) s.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

// Float WAV: a format tag of 3 with the extension-size field and a fact
// chunk, which readers expect for anything but integer PCM.
std::string header(std::uint32_t frames) {
  const std::uint32_t data = frames * kBytesPerFrame;
  std::string s;
  s += "RIFF";
  put32(s, kHeaderSize - 8 + data);
  s += "WAVEfmt ";
  put32(s, 18);
  put16(s, 3);
  put16(s, kChannels);
  put32(s, kRate);
  put32(s, kRate * kBytesPerFrame);
  put16(s, kBytesPerFrame);
  put16(s, 32);
  put16(s, 0);
  s += "fact";
  put32(s, 4);
  put32(s, frames);
  s += "data";
  put32(s, data);
  return s;
}

}  // namespace

Expected<FloatWavWriter, std::string> FloatWavWriter::create(const std::filesystem::path& file) {
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  if (!out) return Unexpected{"Could not create " + file.string() + "."};
  const std::string head = header(0);
  out.write(head.data(), static_cast<std::streamsize>(head.size()));
  if (!out) return Unexpected{"Could not write " + file.string() + "."};
  return FloatWavWriter(std::move(out));
}

Expected<void, std::string> FloatWavWriter::append(std::span<const float> interleaved) {
  const std::size_t frames = interleaved.size() / 2;
  const std::uint64_t limit = (std::numeric_limits<std::uint32_t>::max() - kHeaderSize) / kBytesPerFrame;
  if (static_cast<std::uint64_t>(frames_) + frames > limit)
    return Unexpected{std::string("The sound is too long for a WAV file.")};
  if constexpr (std::endian::native == std::endian::little) {
    out_.write(reinterpret_cast<const char*>(interleaved.data()),
               static_cast<std::streamsize>(frames * kBytesPerFrame));
  } else {
    for (std::size_t i = 0; i < 2 * frames; ++i) {
      const auto bits = std::bit_cast<std::uint32_t>(interleaved[i]);
      std::string b;
      put32(b, bits);
      out_.write(b.data(), 4);
    }
  }
  if (!out_) return Unexpected{std::string("Writing the sound failed.")};
  frames_ += static_cast<std::int64_t>(frames);
  return {};
}

Expected<void, std::string> FloatWavWriter::finish() {
  const std::string head = header(static_cast<std::uint32_t>(frames_));
  out_.seekp(0);
  out_.write(head.data(), static_cast<std::streamsize>(head.size()));
  out_.close();
  if (!out_) return Unexpected{std::string("Writing the sound failed.")};
  return {};
}

}  // namespace brevelan
