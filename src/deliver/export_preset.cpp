#include "deliver/export_preset.h"

#include <algorithm>

namespace brevelan {

std::string_view codecType(VideoCodec codec) {
  switch (codec) {
    case VideoCodec::h264: return "avc1";
    case VideoCodec::hevc: return "hvc1";
    case VideoCodec::prores422: return "apcn";
    case VideoCodec::prores422HQ: return "apch";
    case VideoCodec::proresProxy: return "apco";
  }
  return {};
}

std::string codecUnavailableMessage(VideoCodec codec) {
  return std::string(text(codec)) + " is not available on this computer";
}

std::string ExportPreset::fileExtension() const {
  if (audioOnly) return *audioOnly == AudioOnlyFormat::wav ? "wav" : "m4a";
  return codec && isProRes(*codec) ? "mov" : "mp4";
}

std::pair<int, int> ExportPreset::outputSize(int sequenceWidth, int sequenceHeight) const {
  return {width.value_or(sequenceWidth), height.value_or(sequenceHeight)};
}

const std::vector<ExportPreset>& allPresets() {
  using C = VideoCodec;
  static const std::vector<ExportPreset> presets{
      {"yt1080", "YouTube 1080p", "1920 × 1080 · H.264 · 16 Mbit/s · AAC", C::h264, 1920, 1080, 16'000'000,
       Reframe::fit, std::nullopt},
      {"yt4k", "YouTube 4K", "3840 × 2160 · HEVC · 45 Mbit/s · AAC", C::hevc, 3840, 2160, 45'000'000, Reframe::fit,
       std::nullopt},
      {"vertical", "Instagram / TikTok 9:16", "1080 × 1920 vertical · H.264 · 12 Mbit/s · fills the frame", C::h264,
       1080, 1920, 12'000'000, Reframe::fill, std::nullopt},
      {"facebook", "Facebook 1080p", "1920 × 1080 · H.264 · 10 Mbit/s · AAC", C::h264, 1920, 1080, 10'000'000,
       Reframe::fit, std::nullopt},
      {"prores", "Master — ProRes 422", "Sequence size · Apple ProRes 422 · PCM audio (MOV)", C::prores422,
       std::nullopt, std::nullopt, 16'000'000, Reframe::fit, std::nullopt},
      {"hevc", "Master — HEVC", "Sequence size · HEVC · 30 Mbit/s", C::hevc, std::nullopt, std::nullopt, 30'000'000,
       Reframe::fit, std::nullopt},
      {"wav", "Audio only — WAV", "48 kHz · 24-bit stereo mix", std::nullopt, std::nullopt, std::nullopt, 16'000'000,
       Reframe::fill, AudioOnlyFormat::wav},
      {"m4a", "Audio only — M4A", "48 kHz · AAC 256 kbit/s stereo mix", std::nullopt, std::nullopt, std::nullopt,
       16'000'000, Reframe::fill, AudioOnlyFormat::m4a},
  };
  return presets;
}

const ExportPreset* presetByID(std::string_view id) {
  const auto& presets = allPresets();
  const auto found = std::find_if(presets.begin(), presets.end(), [&](const ExportPreset& p) { return p.id == id; });
  return found == presets.end() ? nullptr : &*found;
}

void write(JsonWriter& writer, const ExportPreset& preset) {
  writer.beginObject();
  if (preset.audioOnly) writer.key("audioOnly").value(text(*preset.audioOnly));
  writer.key("bitrate").value(preset.bitrate);
  if (preset.codec) writer.key("codec").value(text(*preset.codec));
  writer.key("detail").value(preset.detail);
  if (preset.height) writer.key("height").value(*preset.height);
  writer.key("id").value(preset.id);
  writer.key("name").value(preset.name);
  writer.key("reframe").value(text(preset.reframe));
  if (preset.width) writer.key("width").value(*preset.width);
  writer.endObject();
}

ExportPreset readExportPreset(const JsonReader& reader) {
  ExportPreset preset;
  preset.id = reader["id"].string();
  preset.name = reader["name"].string();
  preset.detail = reader["detail"].string();
  if (auto codec = reader.optional("codec")) preset.codec = codec->enumeration<VideoCodec>();
  if (auto width = reader.optional("width")) preset.width = static_cast<int>(width->integer());
  if (auto height = reader.optional("height")) preset.height = static_cast<int>(height->integer());
  preset.bitrate = reader["bitrate"].integer();
  preset.reframe = reader["reframe"].enumeration<Reframe>();
  if (auto format = reader.optional("audioOnly")) preset.audioOnly = format->enumeration<AudioOnlyFormat>();
  return preset;
}

VideoFormat exportVideoFormat(const ExportPreset& preset, const FrameRate& rate, int width, int height) {
  VideoFormat format;
  switch (preset.codec.value_or(VideoCodec::h264)) {
    case VideoCodec::h264: format.codec = VideoFormat::Codec::h264; break;
    case VideoCodec::hevc: format.codec = VideoFormat::Codec::hevc; break;
    case VideoCodec::prores422: format.codec = VideoFormat::Codec::prores422; break;
    case VideoCodec::prores422HQ: format.codec = VideoFormat::Codec::prores422HQ; break;
    case VideoCodec::proresProxy: format.codec = VideoFormat::Codec::proresProxy; break;
  }
  format.width = width;
  format.height = height;
  format.rate = AVRational{static_cast<int>(rate.num), static_cast<int>(rate.den)};
  format.bitRate = preset.bitrate;
  const std::int64_t wholeFPS = rate.den > 0 ? rate.num / rate.den : 0;
  format.keyInterval = static_cast<int>(std::max<std::int64_t>(1, 2 * wholeFPS));
  format.preset = std::string(kExportEncoderPreset);
  return format;
}

SoundFormat exportSoundFormat(const ExportPreset& preset) {
  const bool pcm = preset.codec && isProRes(*preset.codec);
  return SoundFormat{pcm ? SoundFormat::Codec::pcm24 : SoundFormat::Codec::aac, 256'000, 2};
}

}  // namespace brevelan
