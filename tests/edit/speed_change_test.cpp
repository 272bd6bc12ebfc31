#include "edit/speed_change.h"

#include <gtest/gtest.h>

#include "edit/clip_primitives.h"
#include "timeline_fixture.h"

namespace brevelan {
namespace {

using namespace testing;

TEST(SpeedChange, RipplesTheTailOfClipAndPartners) {
  BrevSequence seq = abc();
  ASSERT_TRUE(setSpeed(seq, idOf(seq, "B"), {2, false, false, {}}));
  for (const char* name : {"B", "b"})
    EXPECT_EQ(std::pair(named(seq, name).duration, named(seq, name).speed.rate), std::pair(std::int64_t{50}, 2.0)) << name;
  EXPECT_EQ(named(seq, "c").start, 150);

  // Refused requests change nothing.
  const BrevSequence before = seq;
  EXPECT_FALSE(setSpeed(seq, idOf(seq, "A"), {0, false, false, {}}));
  EXPECT_FALSE(setSpeed(seq, idOf(seq, "B"), named(seq, "B").speed));
  seq.audio.mut(0).locked = true;
  EXPECT_FALSE(setSpeed(seq, idOf(seq, "A"), {2, false, false, {}}));
  EXPECT_EQ(seq.video, before.video);
}

TEST(SpeedChange, NewLengthPlaysTheSameSourceWithinItsLimit) {
  struct Case {
    const char* what;
    Clip clip;
    SpeedSettings speed;
    std::int64_t length, sourceIn;
  };
  Clip reversed = movieClip("R", 0, 100, 0, 100);
  reversed.speed.reverse = true;
  const Case cases[] = {
      {"200 % of a whole source", movieClip("X", 0, 1000), {2, false, false, {}}, 500, 0},
      {"ramp 100 % to 300 %", movieClip("X", 0, 100), {1, false, false, 3.0}, 50, 0},
      {"slowing stops at the source end", movieClip("X", 0, 100, 950), {0.5, false, false, {}}, 100, 950},
      {"reversed keeps its source range", reversed, {2, true, false, {}}, 50, 0},
      {"freeze keeps the length", movieClip("X", 0, 100, 20), {1, false, true, {}}, 100, 20},
  };
  for (const Case& c : cases) {
    BrevSequence seq = BrevSequence::make("Speed");
    seq.video.mut(0).clips.push_back(c.clip);
    EXPECT_TRUE(setSpeed(seq, c.clip.id, c.speed)) << c.what;
    const Clip& after = seq.video[0].clips[0];
    EXPECT_EQ(std::tie(after.duration, after.sourceIn), std::tie(c.length, c.sourceIn)) << c.what;
    EXPECT_TRUE(usesExistingSource(after)) << c.what;
  }
}

}  // namespace
}  // namespace brevelan
