#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace brevelan::testing {

// Mono 16-bit WAV, the form the speech generator writes and the recognizer
// likes: the samples of the "data" chunk, or none.
inline std::vector<std::int16_t> readPCM16(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), {});
  for (std::size_t at = 12; at + 8 <= bytes.size();) {
    std::uint32_t size = 0;
    std::memcpy(&size, bytes.data() + at + 4, 4);
    if (std::string(bytes.data() + at, 4) == "data") {
      std::vector<std::int16_t> samples(std::min<std::size_t>(size, bytes.size() - at - 8) / 2);
      std::memcpy(samples.data(), bytes.data() + at + 8, samples.size() * 2);
      return samples;
    }
    at += 8 + size + (size & 1);
  }
  return {};
}

inline void writePCM16(const std::filesystem::path& file, const std::vector<std::int16_t>& samples, int rate) {
  std::ofstream out(file, std::ios::binary);
  const auto put = [&](std::uint32_t value, int bytes) { out.write(reinterpret_cast<const char*>(&value), bytes); };
  const auto data = static_cast<std::uint32_t>(samples.size() * 2);
  out << "RIFF";
  put(36 + data, 4);
  out << "WAVEfmt ";
  put(16, 4), put(1, 2), put(1, 2), put(static_cast<std::uint32_t>(rate), 4),
      put(static_cast<std::uint32_t>(rate) * 2, 4), put(2, 2), put(16, 2);
  out << "data";
  put(data, 4);
  out.write(reinterpret_cast<const char*>(samples.data()), data);
}

}  // namespace brevelan::testing
