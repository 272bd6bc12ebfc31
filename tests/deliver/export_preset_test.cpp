#include "deliver/export_preset.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace brevelan {
namespace {

// The built-in list as the user sees it: order, names, and what each writes.
TEST(ExportPreset, TableOfPresets) {
  struct Row {
    const char* id;
    const char* name;
    const char* extension;
    const char* codecType;  // "" for sound-only
    int width, height;      // 0: the sequence's size
    std::int64_t bitrate;
    Reframe reframe;
  };
  const Row rows[] = {
      {"yt1080", "YouTube 1080p", "mp4", "avc1", 1920, 1080, 16'000'000, Reframe::fit},
      {"yt4k", "YouTube 4K", "mp4", "hvc1", 3840, 2160, 45'000'000, Reframe::fit},
      {"vertical", "Instagram / TikTok 9:16", "mp4", "avc1", 1080, 1920, 12'000'000, Reframe::fill},
      {"facebook", "Facebook 1080p", "mp4", "avc1", 1920, 1080, 10'000'000, Reframe::fit},
      {"prores", "Master — ProRes 422", "mov", "apcn", 0, 0, 16'000'000, Reframe::fit},
      {"hevc", "Master — HEVC", "mp4", "hvc1", 0, 0, 30'000'000, Reframe::fit},
      {"wav", "Audio only — WAV", "wav", "", 0, 0, 16'000'000, Reframe::fill},
      {"m4a", "Audio only — M4A", "m4a", "", 0, 0, 16'000'000, Reframe::fill},
  };
  const auto& presets = allPresets();
  ASSERT_EQ(presets.size(), std::size(rows));
  for (std::size_t i = 0; i < presets.size(); ++i) {
    const ExportPreset& p = presets[i];
    const Row& row = rows[i];
    SCOPED_TRACE(row.id);
    EXPECT_EQ(p.id, row.id);
    EXPECT_EQ(p.name, row.name);
    EXPECT_EQ(p.fileExtension(), row.extension);
    EXPECT_EQ(p.codec ? codecType(*p.codec) : "", row.codecType);
    EXPECT_EQ(p.codec.has_value(), !p.audioOnly.has_value());
    EXPECT_EQ(p.bitrate, row.bitrate);
    EXPECT_EQ(p.reframe, row.reframe);
    // A 1280 × 720 sequence: presets without a size keep the sequence's.
    EXPECT_EQ(p.outputSize(1280, 720), std::make_pair(row.width ? row.width : 1280, row.height ? row.height : 720));
    EXPECT_EQ(presetByID(row.id), &p);
    // ProRes masters carry PCM sound, the delivery formats AAC.
    if (p.codec) {
      EXPECT_EQ(exportSoundFormat(p).codec == SoundFormat::Codec::pcm24, isProRes(*p.codec));
    }
  }
  EXPECT_EQ(presets[0].detail, "1920 × 1080 · H.264 · 16 Mbit/s · AAC");
  EXPECT_EQ(presetByID("YT1080"), nullptr);
  EXPECT_EQ(codecUnavailableMessage(VideoCodec::hevc), "HEVC (H.265) is not available on this computer");
}

// A key frame at least every two seconds of whole frames, at the exact rate.
TEST(ExportPreset, WriterSettingsFollowTheSequenceRate) {
  const ExportPreset& hevc = *presetByID("hevc");
  for (const auto& [rate, keyInterval] :
       {std::pair{FrameRate{30, 1}, 60}, {FrameRate{30000, 1001}, 58}, {FrameRate{24000, 1001}, 46}}) {
    const VideoFormat format = exportVideoFormat(hevc, rate, 1280, 720);
    EXPECT_EQ(format.keyInterval, keyInterval);
    EXPECT_EQ(av_cmp_q(format.rate, AVRational{int(rate.num), int(rate.den)}), 0);
    EXPECT_EQ(format.codec, VideoFormat::Codec::hevc);
    EXPECT_EQ(format.bitRate, 30'000'000);
  }
  EXPECT_EQ(exportVideoFormat(*presetByID("prores"), {25, 1}, 64, 64).codec, VideoFormat::Codec::prores422);
}

TEST(ExportPreset, EncodesWithFieldNamesAndReadsBack) {
  for (const ExportPreset& preset : allPresets()) {
    JsonWriter writer;
    write(writer, preset);
    EXPECT_TRUE(writer.keysInOrder());
    nlohmann::json json = nlohmann::json::parse(writer.take());
    EXPECT_EQ(json.contains("width"), preset.width.has_value());
    EXPECT_EQ(readExportPreset(JsonReader(json)), preset);
    if (preset.id != "vertical") continue;
    EXPECT_EQ(json["codec"], "H.264");
    EXPECT_EQ(json["reframe"], "Fill (crop to fill)");
    json["codec"] = "VP9";
    EXPECT_THROW(readExportPreset(JsonReader(json)), JsonReader::DecodeFailure);
  }
}

}  // namespace
}  // namespace brevelan
