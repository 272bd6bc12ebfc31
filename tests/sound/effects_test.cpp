#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <random>

#include "sound/compressor.h"
#include "sound/eq.h"
#include "sound/noise_gate.h"
#include "sound_fixture.h"

// The plain versions below round every multiply and add on its own, as the
// effects do, whatever the compiler is allowed to fuse elsewhere.
#pragma GCC optimize("fp-contract=off")

namespace brevelan {
namespace {

using namespace testing;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// 1.5 s of stereo noise stepping through levels from −70 to 0 dB every 0.1 s,
// left and right independent, so that the gate opens and closes, the
// compressor moves in and out of its threshold and a swapped or delayed
// channel shows.
std::vector<float> steppedNoise() {
  const double levels[] = {-70, -6, -30, 0, -50, -12, -70, -20, -3, -60, -40, -9, -24, -70, -1};
  std::mt19937 random(11);
  std::uniform_real_distribution<double> u(-1, 1);
  std::vector<float> out;
  for (double dB : levels)
    for (std::int64_t n = 0; n < kSecond / 10; ++n)
      for (int ch = 0; ch < 2; ++ch) out.push_back(static_cast<float>(std::pow(10.0, dB / 20) * u(random)));
  return out;
}

// The effects as their definitions read, one frame and one band at a time.
void plainEQ(const std::vector<double>& gains, std::vector<float>& s) {
  for (std::size_t i = 0; i < std::min<std::size_t>(gains.size(), 10); ++i) {
    if (!std::isfinite(gains[i]) || std::abs(gains[i]) <= 0.01) continue;
    const BiquadCoef c = peakingCoef(kEQFrequencies[i], gains[i]);
    for (std::size_t ch = 0; ch < 2; ++ch) {
      double z1 = 0, z2 = 0;
      for (std::size_t n = ch; n < s.size(); n += 2) {
        const double x = s[n], y = c.b0 * x + z1;
        z1 = z2 + c.b1 * x - c.a1 * y;
        z2 = c.b2 * x - c.a2 * y;
        s[n] = static_cast<float>(y);
      }
    }
  }
}

void plainGate(double thresholdDB, std::vector<float>& s) {
  const auto open = static_cast<float>(std::pow(10.0, thresholdDB / 20));
  float envelope = 0, gain = 0;
  std::int64_t hold = 0;
  for (std::size_t n = 0; n < s.size(); n += 2) {
    envelope = std::max({std::abs(s[n]), std::abs(s[n + 1]), envelope * 0.9995834f});
    if (envelope >= open) hold = 1440;
    const float target = hold < 1 ? 0.0f : 1.0f;
    if (target == 1) --hold;
    gain += (target > gain ? 0.020617818f : 0.00052069774f) * (target - gain);
    s[n] *= gain;
    s[n + 1] *= gain;
  }
}

void plainCompressor(double thresholdDB, double ratio, double makeupDB, std::vector<float>& s) {
  const double slope = 1 - 1 / std::max(ratio, 1.0);
  float envelope = 0, reduction = 0;
  for (std::size_t n = 0; n < s.size(); n += 2) {
    envelope = std::max({std::abs(s[n]), std::abs(s[n + 1]), envelope * 0.99973965f});
    const double level = 20 * std::log10(std::max<double>(envelope, 1e-9));
    const auto target = static_cast<float>(level > thresholdDB ? (level - thresholdDB) * slope : 0.0);
    reduction += (target > reduction ? 0.004157998f : 0.00026038277f) * (target - reduction);
    const auto gain = static_cast<float>(std::pow(10.0, (makeupDB - reduction) / 20));
    s[n] *= gain;
    s[n + 1] *= gain;
  }
}

// An effect run over `pieces` consecutive pieces of a buffer (one piece: the whole).
using Run = std::function<void(std::vector<float>&, const std::vector<std::int64_t>& pieces)>;

Run eq(std::vector<double> gains) {
  return [gains](std::vector<float>& s, const std::vector<std::int64_t>& pieces) {
    EQChain chain(gains);
    std::int64_t at = 0;
    for (std::int64_t n : pieces) chain.process(std::span<float>(s).subspan(2 * at, 2 * n)), at += n;
  };
}
template <class Effect, class... Settings>
Run dynamics(Settings... settings) {
  return [=](std::vector<float>& s, const std::vector<std::int64_t>& pieces) {
    Effect effect(settings...);
    std::int64_t at = 0;
    for (std::int64_t n : pieces) effect.process(s, at, at + n), at += n;
  };
}

struct EffectCase {
  const char* name;
  Run run;
  std::function<void(std::vector<float>&)> plain;
  float tolerance = 0;  // largest difference from `plain`, in full scale
};

std::vector<EffectCase> effectCases() {
  const std::vector<double> ten{3, -2, 1, 2, 12, -6, 2, 1, 1, 5}, three{0, 6, 0, 0, -9, 0, 0, 0, 0, 4},
      two{0, 0, 0, 0, 0, -12, 0, 0, 0, 8}, one{0, 0, 0, 7};
  return {
      {"EQ ten bands", eq(ten), [=](auto& s) { plainEQ(ten, s); }},
      {"EQ three bands", eq(three), [=](auto& s) { plainEQ(three, s); }},
      {"EQ two bands", eq(two), [=](auto& s) { plainEQ(two, s); }},
      {"EQ one band", eq(one), [=](auto& s) { plainEQ(one, s); }},
      {"gate", dynamics<NoiseGate>(-35.0), [](auto& s) { plainGate(-35, s); }},
      // The fast logarithm and power agree with the library's to a millionth.
      {"compressor", dynamics<Compressor>(-20.0, 4.0, 3.0), [](auto& s) { plainCompressor(-20, 4, 3, s); }, 1e-6f},
  };
}

// Sample for sample what the definitions give, on whichever instruction set
// the effects run.
TEST(Effects, MatchTheirDefinitions) {
  const std::vector<float> input = steppedNoise();
  const auto frames = static_cast<std::int64_t>(input.size() / 2);
  for (const EffectCase& c : effectCases()) {
    std::vector<float> fast = input, plain = input;
    c.run(fast, {frames});
    c.plain(plain);
    float worst = 0;
    for (std::size_t i = 0; i < fast.size(); ++i) worst = std::max(worst, std::abs(fast[i] - plain[i]));
    EXPECT_LE(worst, c.tolerance) << c.name;
  }
}

// State carries across calls: any split into pieces, down to single frames
// and across the effects' internal blocks, gives exactly the whole's samples.
TEST(Effects, PiecesSoundLikeTheWhole) {
  const std::vector<float> input = steppedNoise();
  const auto frames = static_cast<std::int64_t>(input.size() / 2);
  std::vector<std::int64_t> pieces;
  const std::int64_t sizes[] = {1, 3, 16, 17, 5, 255, 256, 257, 2, 1000, 4096};
  for (std::int64_t at = 0, k = 0; at < frames; at += pieces.back(), ++k)
    pieces.push_back(std::min(sizes[k % std::size(sizes)], frames - at));
  for (const EffectCase& c : effectCases()) {
    std::vector<float> whole = input, split = input;
    c.run(whole, {frames});
    c.run(split, pieces);
    EXPECT_EQ(split, whole) << c.name;
  }
}

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
