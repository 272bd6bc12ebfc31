#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <thread>
#include <vector>

#include "media/audio_cache.h"
#include "media/audio_reader.h"
#include "media_fixture.h"

namespace brevelan {
namespace {

using testing::testMedia;

struct Levels {
  float peakLeft = 0, peakRight = 0;
  double maxSideDifference = 0;
};

Levels measure(const std::vector<float>& samples) {
  Levels levels;
  for (std::size_t i = 0; i + 1 < samples.size(); i += 2) {
    levels.peakLeft = std::max(levels.peakLeft, std::abs(samples[i]));
    levels.peakRight = std::max(levels.peakRight, std::abs(samples[i + 1]));
    levels.maxSideDifference = std::max<double>(levels.maxSideDifference, std::abs(samples[i] - samples[i + 1]));
  }
  return levels;
}

TEST(SoundDecoding, MonoAndStereoBecomeStereoAtTheirOwnLevelAndMovieSoundStaysInStep) {
  auto& media = testMedia();
  const double minus6 = std::pow(10.0, -6.0 / 20.0);
  struct Case {
    std::filesystem::path file;
    std::size_t frames;
  } cases[] = {{media.mono, 96000}, {media.stereo, 48000}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file.filename().string());
    auto samples = decodeSound(c.file);
    ASSERT_TRUE(samples.ok()) << samples.error();
    EXPECT_EQ(samples->size(), 2 * c.frames);
    const Levels levels = measure(*samples);
    EXPECT_NEAR(levels.peakLeft, minus6, 0.002);
    EXPECT_NEAR(levels.peakRight, minus6, 0.002);
    EXPECT_EQ(levels.maxSideDifference, 0.0);
  }

  // The writer's AAC keeps a movie's sound in step: the beep written at 0.5 s decodes at 0.5 s.
  auto samples = decodeSound(media.sound);
  ASSERT_TRUE(samples.ok()) << samples.error();
  std::size_t first = 0;
  while (first < samples->size() && std::abs((*samples)[first]) < 0.1f) first += 2;
  EXPECT_NEAR(static_cast<double>(first / 2), 24000.0, 48.0);
}

// Another rate and six channels: resampled to 48 kHz and folded to two.
TEST(SoundDecoding, ResamplesAndFoldsDownOtherLayouts) {
  if (!testing::haveTool("ffmpeg")) GTEST_SKIP() << "the ffmpeg program is not installed";
  const auto file = testMedia().dir / "six.wav";
  const std::string command = "ffmpeg -v error -y -f lavfi -i 'sine=frequency=500:duration=1.5:sample_rate=44100' "
                              "-ac 6 '" + file.string() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  auto samples = decodeSound(file);
  ASSERT_TRUE(samples.ok()) << samples.error();
  EXPECT_NEAR(static_cast<double>(samples->size()) / 2, 72000, 64);
  const Levels levels = measure(*samples);
  EXPECT_GT(std::min(levels.peakLeft, levels.peakRight), 0.05);
}

TEST(AudioCache, DecodesEachFileOnceAndShares) {
  AudioCache cache;
  const std::string path = testMedia().stereo.string();
  std::vector<std::shared_ptr<const PCMSource>> got(4);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < got.size(); ++i) threads.emplace_back([&, i] { got[i] = cache.source(path).value(); });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(cache.decodes(), 1);
  for (const auto& source : got) EXPECT_EQ(source.get(), got[0].get());
  EXPECT_EQ(got[0]->frames, 48000);

  // A failure is reported and tried again next time, not kept.
  const std::string missing = (testMedia().dir / "nowhere.wav").string();
  EXPECT_FALSE(cache.source(missing).ok());
  EXPECT_FALSE(cache.source(missing).ok());
  cache.forget(path);
  ASSERT_TRUE(cache.source(path).ok());
  EXPECT_EQ(cache.decodes(), 4);
}

}  // namespace
}  // namespace brevelan
