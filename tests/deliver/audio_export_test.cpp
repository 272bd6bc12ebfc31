#include "deliver/audio_export.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "media/audio_reader.h"
#include "media/export_check.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

constexpr std::size_t kRate = 48000;

// 3.50 s of silence with a tenth of a second of 1 kHz at half scale from 2.000 s.
std::vector<float> beepMix() {
  std::vector<float> mix(2 * kRate * 7 / 2, 0.0f);
  for (std::size_t i = 0; i < kRate / 10; ++i)
    mix[2 * (2 * kRate + i)] = mix[2 * (2 * kRate + i) + 1] =
        static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 1000.0 * double(i) / kRate));
  return mix;
}

std::size_t onset(const std::vector<float>& interleaved) {
  for (std::size_t i = 0; i < interleaved.size(); ++i)
    if (std::abs(interleaved[i]) > 0.1f) return i / 2;
  return interleaved.size();
}

TEST(WriteAudio, WavIsExactly24BitStereoOfTheMixLength) {
  testing::TempDir dir;
  const auto file = dir / "mix.wav";
  const std::vector<float> mix = beepMix();
  ASSERT_TRUE(writeAudio(mix, file, AudioOnlyFormat::wav));
  auto check = ExportCheck::inspect(file);
  ASSERT_TRUE(check) << check.error();
  EXPECT_EQ(check->duration, 3.5);
  EXPECT_EQ(check->audioDuration, 3.5);
  EXPECT_FALSE(check->hasVideo);

  const std::string bytes = testing::readFile(file);
  const std::size_t fmt = bytes.find("fmt ");
  ASSERT_NE(fmt, std::string::npos);
  EXPECT_EQ(bytes[fmt + 10], 2);   // channels
  EXPECT_EQ(bytes[fmt + 22], 24);  // bits per sample
  auto decoded = decodeSound(file);
  ASSERT_TRUE(decoded) << decoded.error();
  ASSERT_EQ(decoded->size(), mix.size());
  for (std::size_t i = 0; i < mix.size(); ++i) ASSERT_NEAR((*decoded)[i], mix[i], 1.0 / (1 << 22)) << i;
}

// The AAC encoder's priming is trimmed: the beep plays at 2.000 s, well
// inside a frame (the untrimmed delay alone would be 21 ms).
TEST(WriteAudio, M4aKeepsTheMixTiming) {
  testing::TempDir dir;
  const auto file = dir / "mix.m4a";
  const std::vector<float> mix = beepMix();
  ASSERT_TRUE(writeAudio(mix, file, AudioOnlyFormat::m4a));
  auto check = ExportCheck::inspect(file);
  ASSERT_TRUE(check) << check.error();
  EXPECT_FALSE(check->hasVideo);
  EXPECT_GE(check->audioDuration, 3.5);
  EXPECT_LT(check->audioDuration, 3.5 + 2048.0 / kRate);  // at most the AAC padding more

  auto decoded = decodeSound(file);
  ASSERT_TRUE(decoded) << decoded.error();
  EXPECT_NEAR((double(onset(*decoded)) - double(onset(mix))) / kRate, 0.0, 0.005);
}

TEST(WriteAudio, FailureIsASentence) {
  testing::TempDir dir;
  const auto file = dir / "no-such-folder" / "mix.wav";
  auto written = writeAudio(beepMix(), file, AudioOnlyFormat::wav);
  ASSERT_FALSE(written);
  EXPECT_EQ(written.error().rfind("could not write the WAV file (", 0), 0u) << written.error();
}

}  // namespace
}  // namespace brevelan
