#include "deliver/audio_export.h"

#include "media/media_writer.h"

namespace brevelan {
namespace {

// Hands the mix over a second at a time: the writer keeps only one encoder
// frame's worth beyond what it has encoded.
constexpr std::size_t kChunkFrames = 48000;

std::string sentence(AudioOnlyFormat format, const std::string& why) {
  return std::string("could not write the ") + (format == AudioOnlyFormat::wav ? "WAV" : "M4A") + " file (" + why + ")";
}

}  // namespace

Expected<void, std::string> writeAudio(std::span<const float> samples, const std::filesystem::path& file,
                                       AudioOnlyFormat format) {
  const bool wav = format == AudioOnlyFormat::wav;
  const SoundFormat sound{wav ? SoundFormat::Codec::pcm24 : SoundFormat::Codec::aac, 256'000, 2};
  auto writer = MediaWriter::open(file, std::nullopt, sound, wav ? "wav" : "ipod");
  if (!writer) return Unexpected{sentence(format, writer.error().message)};
  const auto abandon = [&](const std::string& why) {
    writer->reset();
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    return Unexpected{sentence(format, why)};
  };
  const std::size_t frames = samples.size() / 2;
  for (std::size_t at = 0; at < frames; at += kChunkFrames) {
    const std::size_t count = std::min(kChunkFrames, frames - at);
    auto added = (*writer)->addSound(samples.data() + 2 * at, static_cast<std::int64_t>(count));
    if (!added) return abandon(added.error());
  }
  auto finished = (*writer)->finish();
  if (!finished) return abandon(finished.error());
  return {};
}

}  // namespace brevelan
