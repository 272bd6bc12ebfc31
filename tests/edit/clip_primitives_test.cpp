#include "edit/clip_primitives.h"

#include <gtest/gtest.h>

#include "timeline_fixture.h"

namespace brevelan {
namespace {

using namespace testing;

Clip at(SpeedSettings speed, std::int64_t start, std::int64_t length, std::int64_t in, std::int64_t limit = 1000) {
  Clip clip = movieClip("X", start, length, in, limit);
  clip.speed = speed;
  return clip;
}

TEST(ClipPrimitives, SplitHandsKeysFadesAndTransitionOver) {
  Clip c = movieClip("A", 10, 100, 20);
  c.audio = AudioFX{.volumeKeys = {{{0, -6}, {80, 0}}}, .panKeys = {{{60, 1}}}, .fadeIn = 5, .fadeOut = 6};
  c.transitionIn = Transition{};
  EXPECT_FALSE(split(c, 10) || split(c, 110));
  const auto [left, right] = *split(c, 60);
  Clip expectLeft = c, expectRight = c;
  expectLeft.duration = 50;
  expectLeft.audio.mut().fadeOut = 0;
  expectRight.id = right.id;
  expectRight.start = 60;
  expectRight.duration = 50;
  expectRight.sourceIn = 70;
  expectRight.transitionIn.reset();
  expectRight.audio = AudioFX{.volumeKeys = {{{-50, -6}, {30, 0}}}, .panKeys = {{{10, 1}}}, .fadeIn = 0, .fadeOut = 6};
  EXPECT_EQ(left, expectLeft);
  EXPECT_EQ(right, expectRight);
  EXPECT_NE(right.id, c.id);
}

TEST(ClipPrimitives, SplitSourceOfPieces) {
  // What, clip, length of the left piece, source in of the left and right pieces.
  const std::tuple<const char*, Clip, std::int64_t, std::int64_t, std::int64_t> cases[] = {
      {"ramp 100->300 % halfway", at({1, false, false, 3.0}, 0, 100, 0), 50, 0, 75},
      {"reversed: left shows the end", at({1, true, false, {}}, 0, 100, 10), 30, 80, 10},
      {"frozen", at({1, false, true, {}}, 0, 100, 20), 30, 20, 20},
      {"rounding stops at the source end", at({1.5, false, false, {}}, 0, 2, 0, 3), 1, 0, 1},
  };
  for (const auto& [what, clip, leftLength, leftIn, rightIn] : cases) {
    const auto [left, right] = *split(clip, leftLength);
    EXPECT_EQ(std::pair(left.sourceIn, right.sourceIn), std::pair(leftIn, rightIn)) << what;
    EXPECT_TRUE(usesExistingSource(left) && usesExistingSource(right)) << what;
  }
  const auto [left, right] = *split(std::get<1>(cases[0]), 50);
  EXPECT_EQ(left.speed.consumed(left.duration), 75);
  EXPECT_EQ(std::pair(*left.speed.rampTo, right.speed.rate), std::pair(2.0, 2.0));
}

TEST(ClipPrimitives, EdgeMovesAtSourceEnds) {
  // A forward head gets one frame of rounding slack at the source end; a reversed one none.
  const Clip slack = *movedHead(at({1.5, false, false, {}}, 10, 100, 0, 150), 1);
  EXPECT_EQ(slack.sourceIn + slack.speed.consumed(slack.duration), 151);
  EXPECT_FALSE(movedHead(at({1.5, true, false, {}}, 10, 99, 1, 150), -1));  // 151 of 150

  EXPECT_EQ(withLength(at({1, true, false, {}}, 0, 100, 100), 150)->sourceIn, 50);  // reversed keeps its end
  EXPECT_FALSE(withLength(at({1, true, false, {}}, 0, 100, 100), 201));
}

}  // namespace
}  // namespace brevelan
