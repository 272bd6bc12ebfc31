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
      {{30000, 1001}, 107892, "00:59:56:12"},  // non-drop: an hour of frames is not 01:00:00:00
      {{60000, 1001}, 61, "00:00:01:01"},
      {{25, 1}, 25 * 3600 * 100, "100:00:00:00"},  // hours grow past two digits
  };
  for (const auto& c : cases) EXPECT_EQ(c.rate.timecode(c.frame), c.expected) << c.rate.num << "/" << c.rate.den;
  EXPECT_DEATH((void)FrameRate({0, 1}).timecode(10), "invalid rate");
}

TEST(FrameRate, FramesAreExactRationalMediaTime) {
  const FrameRate ntsc{30000, 1001};
  EXPECT_EQ(ntsc.time(30000), (MediaTime{1001, 1}));
  EXPECT_LT(ntsc.time(29999), (MediaTime{1001, 1}));
  // Ten hours of 23.976 stay exact where a double would drift.
  EXPECT_EQ((FrameRate{24000, 1001}).time(24000 * 36000), (MediaTime{1001 * 36000, 1}));
}

TEST(FrameRate, SecondsRoundTripToTheSameFrameAtEveryRateAndFloor) {
  for (const FrameRate& rate : FrameRate::all()) {
    for (std::int64_t f = 0; f < 400000; ++f) {
      ASSERT_EQ(rate.frames(rate.seconds(f)), f) << rate.label() << " frame " << f;
    }
  }
  EXPECT_EQ((FrameRate{30, 1}).frames(3.49), 104);
  EXPECT_EQ((FrameRate{30000, 1001}).frames(1001.0), 30000);
}

TEST(FrameRate, TheEightRatesInMenuOrderWithLabels) {
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
  for (const Case& c : cases) {
    EXPECT_EQ(c.rate.label(), c.label);
    EXPECT_EQ(c.rate.nominalFPS(), c.nominal) << c.label;
  }
  EXPECT_EQ(FrameRate::all().size(), 8u);
  for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(FrameRate::all()[i], cases[i].rate) << cases[i].label;
  EXPECT_NE((FrameRate{24, 1}), (FrameRate{48, 2}));  // stored values, not the ratio, decide equality
}

}  // namespace
}  // namespace brevelan
