#include <gtest/gtest.h>

#include <limits>

#include "sound/compressor.h"
#include "sound/eq.h"
#include "sound/noise_gate.h"
#include "sound_fixture.h"

namespace brevelan {
namespace {

using namespace testing;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(EQ, BandGainsAtTheirCentre) {
  for (auto [gain, expected] : {std::pair{12.0, 6.0}, {-12.0, -18.0}, {40.0, 6.0}, {-400.0, -18.0}}) {
    std::vector<float> s = tone(-6, 1000, kSecond);
    std::vector<double> gains(10, 0.0);
    gains[5] = gain;  // 1 kHz
    applyEQ(gains, s);
    EXPECT_NEAR(peakDB(s, kSecond / 2, kSecond, 0), expected, 0.1) << gain;
    EXPECT_NEAR(peakDB(s, kSecond / 2, kSecond, 1), expected, 0.1) << gain;
  }
  // Tiny, missing or meaningless bands leave the sound bit-identical.
  const std::vector<float> original = tone(-6, 440, 4800);
  for (const std::vector<double>& gains : {std::vector<double>{}, {0.01, -0.01, 0, 0.005}, {kNaN}}) {
    std::vector<float> s = original;
    applyEQ(gains, s);
    EXPECT_EQ(s, original);
  }
  EXPECT_EQ(eqLabel(31) + eqLabel(16000) + eqLabel(31500) + eqLabel(12.5), "3116k31.5k12.5");
}

TEST(Compressor, SteadyToneLevels) {
  struct {
    double ratio, makeup, inDB, outDB;
  } cases[] = {{3, 0, -6, -14}, {1, 4, -6, -2}, {0, 0, -6, -6}, {3, 6, -24, -18}, {kNaN, 0, -6, -6}};
  for (const auto& c : cases) {
    std::vector<float> s = tone(c.inDB, 1000, kSecond);
    Compressor(-18, c.ratio, c.makeup).process(s, 0, kSecond);
    EXPECT_NEAR(peakDB(s, kSecond * 3 / 4, kSecond), c.outDB, 0.1) << c.ratio << " " << c.inDB;
  }
}

TEST(NoiseGate, SilencesHissPassesToneAndStartsClosed) {
  std::vector<float> hiss = tone(-60, 0, kSecond);
  NoiseGate(-45).process(hiss, 0, kSecond);
  EXPECT_LT(peakDB(hiss, 0, kSecond), -300);

  const std::vector<float> input = tone(-6, 1000, kSecond);
  std::vector<float> s = input;
  NoiseGate(-45).process(s, 0, kSecond);
  EXPECT_NEAR(peakDB(s, kSecond / 10, kSecond), -6.0, 0.01);
  EXPECT_FLOAT_EQ(s[2], input[2] * 0.020617818f);  // opens at the 1 ms rate
}

TEST(Effects, ExtremeSettingsStayFinite) {
  std::vector<float> s = tone(0, 50, 4800);
  applyEQ(std::vector<double>(10, 1e6), s);
  NoiseGate(-1e9).process(s, -5, 1 << 20);
  Compressor(-1e9, 0, 96).process(s, 0, 4800);
  EXPECT_LT(peakDB(s, 0, 4800), 200);
}

}  // namespace
}  // namespace brevelan
