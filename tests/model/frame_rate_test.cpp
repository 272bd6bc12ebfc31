#include "model/frame_rate.h"

#include <gtest/gtest.h>

namespace brevelan {
namespace {

TEST(FrameRate, TimecodeCountsNominalFramesWithoutDropping) {
  struct Case {
    FrameRate rate;
    std::int64_t frame;
    const char* expected;
  };
  const Case cases[] = {
      {{30, 1}, 111697, "01:02:03:07"},
      {{30, 1}, -5, "00:00:00:00"},
      {{30000, 1001}, 30, "00:00:01:00"},       // 29.97 counts 30-frame seconds
      {{30000, 1001}, 107892, "00:59:56:12"},   // non-drop: an hour of frames is not 01:00:00:00
      {{24000, 1001}, 24 * 3600 - 1, "00:59:59:23"},
      {{60000, 1001}, 61, "00:00:01:01"},
      {{25, 1}, 25 * 3600 * 100, "100:00:00:00"},  // hours grow past two digits
  };
  for (const auto& c : cases) EXPECT_EQ(c.rate.timecode(c.frame), c.expected) << c.rate.num << "/" << c.rate.den;
}

TEST(FrameRate, TimecodeOfAZeroRateStopsTheProgram) {
  EXPECT_DEATH((void)FrameRate({0, 1}).timecode(10), "invalid rate");
}

TEST(FrameRate, FramesAreExactRationalMediaTime) {
  const FrameRate ntsc{30000, 1001};
  EXPECT_EQ(ntsc.time(30000), (MediaTime{1001, 1}));
  EXPECT_EQ(ntsc.time(30000).value, 30030000);
  EXPECT_EQ(ntsc.time(30000).timescale, 30000);
  EXPECT_NE(ntsc.time(29999), (MediaTime{1001, 1}));
  EXPECT_LT(ntsc.time(29999), (MediaTime{1001, 1}));
  // Ten hours of 23.976 stay exact where a double would drift.
  EXPECT_EQ((FrameRate{24000, 1001}).time(24000 * 36000), (MediaTime{1001 * 36000, 1}));
}

TEST(FrameRate, SecondsRoundTripToTheSameFrameAtEveryRate) {
  for (const FrameRate& rate : FrameRate::all()) {
    for (std::int64_t f = 0; f < 400000; ++f) {
      ASSERT_EQ(rate.frames(rate.seconds(f)), f) << rate.label() << " frame " << f;
    }
  }
}

TEST(FrameRate, SecondsToFramesFloors) {
  const FrameRate rate{30, 1};
  EXPECT_EQ(rate.frames(3.5), 105);
  EXPECT_EQ(rate.frames(3.49), 104);
  EXPECT_EQ(rate.frames(0), 0);
  EXPECT_EQ((FrameRate{30000, 1001}).frames(1001.0), 30000);
}

TEST(FrameRate, LabelsAndNominalRates) {
  struct Case {
    FrameRate rate;
    const char* label;
    std::int64_t nominal;
  };
  const Case cases[] = {
      {{24000, 1001}, "23.976 fps", 24}, {{24, 1}, "24 fps", 24},          {{25, 1}, "25 fps", 25},
      {{30000, 1001}, "29.97 fps", 30},  {{30, 1}, "30 fps", 30},          {{50, 1}, "50 fps", 50},
      {{60000, 1001}, "59.94 fps", 60},  {{60, 1}, "60 fps", 60},          {{48000, 2002}, "23 fps", 24},
      {{15, 2}, "7 fps", 8},  // 7.5 rounds away from zero
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.rate.label(), c.label);
    EXPECT_EQ(c.rate.nominalFPS(), c.nominal) << c.label;
  }
}

TEST(FrameRate, OffersTheEightRatesInMenuOrder) {
  const std::array<FrameRate, 8> expected{{
      {24000, 1001}, {24, 1}, {25, 1}, {30000, 1001}, {30, 1}, {50, 1}, {60000, 1001}, {60, 1}}};
  EXPECT_EQ(FrameRate::all(), expected);
  // Stored values, not the ratio, decide equality.
  EXPECT_NE((FrameRate{24, 1}), (FrameRate{48, 2}));
}

}  // namespace
}  // namespace brevelan
