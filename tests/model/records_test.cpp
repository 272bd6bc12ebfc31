#include <gtest/gtest.h>

#include <cmath>

#include "model/project.h"
#include "support/rich_project.h"

namespace brevelan {
namespace {

TEST(Records, ANewClipIsNeutralInPictureAndSound) {
  const Clip clip = Clip::make(ClipSource::media(Uuid::make()), "clip", 0, 10);
  EXPECT_TRUE(clip.enabled);
  EXPECT_EQ(clip.speed, (SpeedSettings{1, false, false, std::nullopt}));
  EXPECT_EQ(clip.transform->opacity, 1);
  EXPECT_EQ(clip.transform->scale, 1);
  EXPECT_FALSE(clip.transitionIn.has_value());  // a hard cut at the head

  const ColorGrade& g = clip.grade;
  EXPECT_TRUE(g.enabled);
  for (double neutral : {g.exposure, g.contrast, g.saturation - 1, g.temperature, g.tint}) EXPECT_EQ(neutral, 0);
  EXPECT_FALSE(g.lutPath.has_value());
  for (const ColorWheel* wheel : {&g.lift, &g.gamma, &g.gain}) EXPECT_EQ(*wheel, ColorWheel{});
  for (const ToneCurve* curve : {&g.master, &g.red, &g.green, &g.blue})
    for (const CurvePoint& p : curve->points) EXPECT_LT(std::fabs(p.x - p.y), 1e-9);  // identity curves

  const AudioFX& a = clip.audio;
  for (double neutral : {a.gainDB, a.pan, double(a.fadeIn), double(a.fadeOut)}) EXPECT_EQ(neutral, 0);
  EXPECT_TRUE(a.volumeKeys.empty() && a.panKeys.empty());
  EXPECT_FALSE(a.eqOn || a.gateOn || a.compOn || a.muted);
}

TEST(Records, ProjectsCompareFieldByFieldAndCopiesShareWhatTheyDoNotTouch) {
  const Project original = testing::makeRichProject();
  Project copy = original;
  EXPECT_EQ(copy, original);
  copy.sequences.mut(0).audio.mut(0).clips.mut(0).audio.mut().gainDB += 0.5;
  EXPECT_NE(copy, original);
  copy.sequences.mut(0).audio.mut(0).clips.mut(0).audio.mut().gainDB -= 0.5;
  EXPECT_EQ(copy, original);  // equal again although no longer sharing that clip
  Project other = original;
  other.sequences.mut(0).video.mut(1).clips.mut(0).source.mutableTitleSpec()->subtitle = "Changed";
  EXPECT_NE(other, original);
  other = original;
  other.sequences.mut(0).markers.mut(0).frame += 1;
  EXPECT_NE(other, original);

  Project renamed = original;
  renamed.sequences.mut(0).video.mut(0).clips.mut(1).name = "Renamed";
  EXPECT_EQ(original.sequences[0].video[0].clips[1].name, "Inner");
  EXPECT_TRUE(renamed.media.sharesStorageWith(original.media));
  EXPECT_TRUE(renamed.sequences[0].audio.sharesStorageWith(original.sequences[0].audio));
  EXPECT_TRUE(renamed.sequences[0].video[1].clips.sharesStorageWith(original.sequences[0].video[1].clips));
  EXPECT_EQ(&renamed.sequences[0].video[0].clips[0], &original.sequences[0].video[0].clips[0]);
  EXPECT_EQ(&renamed.sequences[1], &original.sequences[1]);
}

TEST(Records, SourceLimitsAndSpeed) {
  MediaItem movie;
  movie.kind = MediaKind::video;
  movie.duration = 3.5;
  EXPECT_EQ(movie.sourceLimit({30, 1}), 105);
  movie.duration = 1001.0;
  EXPECT_EQ(movie.sourceLimit({30000, 1001}), 30000);
  movie.kind = MediaKind::audio;
  movie.duration = 0.001;
  EXPECT_EQ(movie.sourceLimit({30, 1}), 1);  // never below one frame
  movie.kind = MediaKind::image;
  EXPECT_EQ(movie.sourceLimit({30, 1}), std::nullopt);
  EXPECT_EQ(MediaItem::stillLength({30000, 1001}), 150);

  EXPECT_EQ((SpeedSettings{1, false, false, 3.0}).consumed(100), 200);
  EXPECT_EQ((SpeedSettings{0.25, true, false, {}}).consumed(0), 1);
  EXPECT_EQ((SpeedSettings{0.25, false, false, {}}).consumed(6), 2);  // 1.5 rounds away from zero
  EXPECT_EQ((SpeedSettings{3, false, true, {}}).consumed(90), 1);
  Clip clip = Clip::make(ClipSource::media(Uuid::make()), "c", 0, 10, 0, 1000);
  clip.speed.rate = 2;
  EXPECT_EQ(clip.maxDuration(), 500);
  clip.sourceIn = 1200;
  EXPECT_EQ(clip.maxDuration(), 1);
  clip.sourceLimit.reset();
  EXPECT_EQ(clip.maxDuration(), 10'000'000);
}

TEST(Records, KeyTrackInterpolatesAndHoldsOutside) {
  KeyTrack track;
  EXPECT_EQ(track.value(3, 7.5), 7.5);
  track.set(100, 10);
  track.set(0, 0);
  EXPECT_EQ(track.value(50, 99), 5);
  EXPECT_EQ(track.value(-20, 99), 0);
  EXPECT_EQ(track.value(150, 99), 10);
  track.set(100, 20);  // replaces the key at 100
  EXPECT_EQ(track.keys.size(), 2u);
  track.shift(-10);
  EXPECT_EQ(track.value(40, 0), 10);
}

TEST(Records, UuidTextIsCanonicalUpperCase) {
  const Uuid id = Uuid::make();
  EXPECT_EQ(id.str().find_first_of("abcdef"), std::string::npos);
  EXPECT_EQ(Uuid::parse(id.str()), id);
  EXPECT_EQ(Uuid::parse("0a1b2c3d-4e5f-4a6b-8c7d-9e0f1a2b3c4d")->str(), "0A1B2C3D-4E5F-4A6B-8C7D-9E0F1A2B3C4D");
  for (const char* bad : {"", "0A1B2C3D4E5F4A6B8C7D9E0F1A2B3C4D", "0A1B2C3D-4E5F-4A6B-8C7D-9E0F1A2B3C4G",
                          "0A1B2C3D-4E5F-4A6B-8C7D9-E0F1A2B3C4D"})
    EXPECT_EQ(Uuid::parse(bad), std::nullopt) << bad;
  EXPECT_NE(Uuid::make(), Uuid::make());
}

}  // namespace
}  // namespace brevelan
