#include "app/playback/stem_mix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "media/caf_file.h"
#include "media/demo_media.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

TEST(StemGain, PanTurnsDownTheFarSideOnly) {
  struct Case {
    double volume, pan;
    StemGain gain;
  };
  for (const Case& c : {Case{1, 0, {1, 1}}, Case{1, 0.5, {0.5f, 1}}, Case{1, -0.25, {1, 0.75f}},
                        Case{0.5, 1, {0, 0.5f}}, Case{2, -1, {2, 0}}, Case{1, 3, {0, 1}}, Case{0, 0.5, {0, 0}}}) {
    SCOPED_TRACE(c.pan);
    EXPECT_EQ(stemGain(c.volume, c.pan), c.gain);
  }
}

TEST(StemGain, EachStemFollowsItsOwnTrack) {
  BrevSequence seq = BrevSequence::make("Mix");
  seq.audio.push_back(Track::make(TrackKind::audio, "A3"));
  const std::vector<TrackVolume> built = makeAudioMix(seq);
  // Since the build: A1 is panned right, A2 soloed, A3 deleted.
  BrevSequence now = seq;
  now.audio.mut(0).pan = 0.5;
  now.audio.mut(1).solo = true;
  now.audio.erase(2);
  std::vector<StemGain> gains = stemGains(built, now);
  ASSERT_EQ(gains.size(), 3u);
  EXPECT_EQ(gains[0], (StemGain{0, 0}));  // not the soloed one
  EXPECT_EQ(gains[1], (StemGain{1, 1}));
  EXPECT_EQ(gains[2], (StemGain{0, 0}));

  now.audio.mut(1).solo = false;
  gains = stemGains(built, now);
  EXPECT_EQ(gains[0], (StemGain{0.5f, 1}));
}

std::shared_ptr<const StemSamples> constant(float left, float right, std::size_t frames) {
  std::vector<float> samples;
  for (std::size_t i = 0; i < frames; ++i) samples.insert(samples.end(), {left, right});
  return std::make_shared<const StemSamples>(std::move(samples));
}

TEST(StemMixer, MixesStemsAtTheirGainsAndRampsChanges) {
  StemMixer mixer;
  mixer.setStems({constant(0.25f, 0.5f, 2000), constant(0.1f, 0.1f, 900), nullptr});
  mixer.setGains({{1, 0.5f}, {2, 2}, {1, 1}});
  std::vector<float> block(2 * 256);
  mixer.read(block);  // playback starts from silence

  mixer.read(block);
  EXPECT_FLOAT_EQ(block[0], 0.25f + 0.2f);
  EXPECT_FLOAT_EQ(block[1], 0.25f + 0.2f);
  EXPECT_EQ(mixer.position(), 512);

  // A fader move ramps across one block, then holds.
  mixer.setGains({{0, 0}, {2, 2}, {1, 1}});
  mixer.read(block);
  EXPECT_FLOAT_EQ(block[0], 0.25f + 0.2f);
  EXPECT_NEAR(block[510], 0.2f, 0.01f);
  // The second stem ends at frame 900, inside the next block.
  mixer.read(block);
  EXPECT_FLOAT_EQ(block[0], 0.2f);
  EXPECT_FLOAT_EQ(block[2 * 255 + 1], 0.0f);

  mixer.seek(100);
  mixer.read(block);
  EXPECT_FLOAT_EQ(block[0], 0.2f);
  mixer.seek(5000);
  mixer.read(block);
  for (const float sample : block) EXPECT_EQ(sample, 0.0f);
}

TEST(StemSamples, MapsOurStemsAndDecodesOtherFiles) {
  testing::TempDir dir;
  std::vector<float> written;
  for (int i = 0; i < 48000; ++i) written.insert(written.end(), {std::sin(i * 0.01f), -0.5f});
  ASSERT_TRUE(writeCAF(written, dir / "stem.caf"));
  auto stem = StemSamples::open(dir / "stem.caf");
  ASSERT_TRUE(stem) << stem.error();
  EXPECT_TRUE((*stem)->mapped());
  ASSERT_EQ((*stem)->frames(), 48000);
  std::vector<float> read(written.size());
  (*stem)->copy(0, 48000, read.data());
  EXPECT_EQ(read, written);

  ASSERT_TRUE(writeToneWAV(dir / "tone.wav", 440, -6, 0.5));
  auto tone = StemSamples::open(dir / "tone.wav");
  ASSERT_TRUE(tone) << tone.error();
  EXPECT_FALSE((*tone)->mapped());
  EXPECT_NEAR(static_cast<double>((*tone)->frames()), 24000, 100);

  EXPECT_FALSE(StemSamples::open(dir / "missing.caf"));
}

}  // namespace
}  // namespace brevelan
