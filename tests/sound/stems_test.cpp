#include "sound/stems.h"

#include <gtest/gtest.h>

#include "media/audio_reader.h"
#include "sound_fixture.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

using namespace testing;

struct StemRig : MixFixture {
  TempDir dir;
  StemCache cache{dir.path() / "Mix Cache"};
  Expected<Stem, std::string> stem(std::size_t track = 0) {
    return cache.stem(Mixer(project, sound), seq(), seq().audio[track]);
  }
};

TEST(Stems, FileHoldsTheTrackAtFullLevelForTheSequencesLength) {
  StemRig rig;
  rig.track(0).volumeDB = -20;  // the fader is the player's, not the stem's
  rig.seq().rate = {30, 1};
  // A 1.00 s sequence: the clip on A1 runs 30 frames.
  rig.clip().duration = 30;
  const auto stem = rig.stem();
  ASSERT_TRUE(stem) << stem.error();
  EXPECT_EQ(stem->url.parent_path(), rig.dir.path() / "Mix Cache");
  EXPECT_EQ(stem->url.filename().string().size(), 16u + 4);
  const auto decoded = decodeSound(stem->url);
  ASSERT_TRUE(decoded) << decoded.error();
  ASSERT_EQ(decoded->size(), 2u * kSecond);
  EXPECT_NEAR(peakDB(*decoded, 0, kSecond), -6, 0.1);
  EXPECT_EQ(stem->peaksL.size(), 101u);  // 100 a second, plus the last partial bucket
  EXPECT_NEAR(20 * std::log10(stem->peaksL[50]), -6, 0.1);
}

TEST(Stems, UnchangedTrackIsRenderedOnceAndChangesRenderAgain) {
  StemRig rig;
  ASSERT_TRUE(rig.stem());
  const auto first = rig.stem();
  EXPECT_EQ(rig.cache.renders(), 1);

  // Fader, pan, mute and solo act live: same stem.
  rig.track(0).volumeDB = -3;
  rig.track(0).pan = 0.5;
  rig.track(0).muted = true;
  EXPECT_EQ(rig.stem()->url, first->url);
  EXPECT_EQ(rig.cache.renders(), 1);

  // Anything audible in the clip makes a new stem.
  rig.fx().gainDB = -6;
  const auto louder = rig.stem();
  EXPECT_NE(louder->url, first->url);
  EXPECT_EQ(rig.cache.renders(), 2);

  // A stem whose file is gone is rendered again.
  std::filesystem::remove(louder->url);
  ASSERT_TRUE(rig.stem());
  EXPECT_EQ(rig.cache.renders(), 3);
  EXPECT_TRUE(std::filesystem::exists(louder->url));
}

TEST(Stems, PlaybackVolumesAndMeters) {
  StemRig rig;
  rig.seq().audio.push_back(Track::make(TrackKind::audio, "A3"));
  rig.seq().masterDB = -6;
  rig.track(0).volumeDB = 40;  // far past the top of the fader
  rig.track(1).solo = true;
  rig.track(2).solo = true;
  rig.track(2).volumeDB = -6;
  const auto volumes = makeAudioMix(rig.seq());
  ASSERT_EQ(volumes.size(), 3u);
  EXPECT_EQ(volumes[0].track, rig.seq().audio[0].id);
  EXPECT_EQ(volumes[0].volume, 0);  // not soloed
  EXPECT_NEAR(20 * std::log10(volumes[2].volume), -12, 1e-9);

  rig.track(1).solo = rig.track(2).solo = false;
  EXPECT_EQ(makeAudioMix(rig.seq())[0].volume, 4.0);  // +12 dB at most

  rig.track(0).volumeDB = 0;
  std::vector<Stem> stems;
  for (std::size_t t = 0; t < 3; ++t) stems.push_back(*rig.stem(t));
  const Meters meters = meterLevels(rig.seq(), stems, 0.5);
  EXPECT_NEAR(20 * std::log10(meters.tracks[0].left), -12, 0.1);  // −6 dB tone, master −6
  EXPECT_EQ(meters.tracks[1].left, 0);
  EXPECT_EQ(meters.master.left, meters.tracks[0].left);
}

}  // namespace
}  // namespace brevelan
