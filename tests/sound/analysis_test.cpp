#include <gtest/gtest.h>

#include "media/audio_cache.h"
#include "sound/beat_detector.h"
#include "sound/peaks.h"
#include "sound_fixture.h"

namespace brevelan {
namespace {

using namespace testing;

// Short 1 kHz bursts on a quiet bed, one every `spacing` seconds.
std::vector<float> clicks(double spacing, double seconds) {
  const auto frames = static_cast<std::int64_t>(seconds * kSecond);
  std::vector<float> out = tone(-50, 0, frames);
  const std::vector<float> burst = tone(-6, 1000, kSecond / 20);
  for (double t = 0.25; t + 0.05 < seconds; t += spacing) {
    const auto at = static_cast<std::size_t>(2 * std::llround(t * kSecond));
    std::copy(burst.begin(), burst.end(), out.begin() + static_cast<std::ptrdiff_t>(at));
  }
  return out;
}

TEST(BeatDetector, FindsA120BPMBeatEveryHalfSecond) {
  const std::vector<double> beats = BeatDetector::beats(clicks(0.5, 8), 0.25);
  ASSERT_GE(beats.size(), 14u);
  for (std::size_t i = 1; i < beats.size(); ++i) EXPECT_NEAR(beats[i] - beats[i - 1], 0.5, 512.0 / kSecond) << i;
  EXPECT_NEAR(beats.front(), 0.25, 512.0 / kSecond);
}

TEST(BeatDetector, NothingInShortBuffersSteadyTonesOrTooSoon) {
  EXPECT_TRUE(BeatDetector::beats(tone(-6, 440, 2048), 0.25).empty());
  std::vector<float> steady = tone(-6, 440, 4 * kSecond);
  // A tone that starts at the first sample never rises above its own average.
  EXPECT_TRUE(BeatDetector::beats(steady, 0.25).empty());
  // Two onsets 0.2 s apart with a 0.25 s gap: only the first counts.
  EXPECT_EQ(BeatDetector::beats(clicks(0.2, 0.5), 0.25).size(), 1u);
}

TEST(Peaks, BucketsLevelsAndEmptyRanges) {
  std::vector<float> s = tone(-6, 1000, 1000);
  s[2 * 999 + 1] = -0.9f;
  const StereoPeaks p = peaks(s, 480);
  ASSERT_EQ(p.left.size(), 3u);  // 1000 / 480 + 1
  EXPECT_NEAR(p.left[0], 0.5, 0.01);
  EXPECT_FLOAT_EQ(p.right[2], 0.9f);
  EXPECT_TRUE(peaks(s, 0).left.empty());
  EXPECT_NEAR(brevelan::peakDB(s, 0), 20 * std::log10(0.9), 1e-6);
  EXPECT_EQ(brevelan::peakDB(s, 500, 500), -180);
  EXPECT_EQ(brevelan::peakDB(std::vector<float>(8, 0.0f), 0), -180);

  MediaItem silent;
  silent.path = "/nonexistent/no-sound.mov";
  silent.hasAudio = false;
  EXPECT_EQ(AudioCache::shared().peaks(silent), nullptr);
}

}  // namespace
}  // namespace brevelan
