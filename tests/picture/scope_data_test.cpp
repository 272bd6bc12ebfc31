#include "picture/scope_data.h"

#include <gtest/gtest.h>

namespace brevelan {
namespace {

std::vector<std::uint8_t> halfBlackHalfWhite(int width, int height) {
  std::vector<std::uint8_t> rgba(static_cast<std::size_t>(width * height * 4), 255);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width / 2; ++x)
      for (int c = 0; c < 3; ++c) rgba[static_cast<std::size_t>((y * width + x) * 4 + c)] = 0;
  return rgba;
}

TEST(ScopeData, HalfBlackHalfWhiteSplitsWaveformAndHistogram) {
  const auto rgba = halfBlackHalfWhite(40, 25);  // 1,000 pixels
  const ScopeData data = ScopeData::measure(rgba, 40, 25, 8);
  EXPECT_EQ(data.histY[0], 500u);
  EXPECT_EQ(data.histY[255], 500u);
  for (int c = 0; c < 4; ++c) EXPECT_EQ(data.columnMeanLuma(c), 0) << c;
  for (int c = 4; c < 8; ++c) EXPECT_EQ(data.columnMeanLuma(c), 255) << c;
  // Neither black nor white has colour: everything sits on the centre cell.
  EXPECT_EQ(data.vector[64 * 128 + 64], 1000u);
}

TEST(ScopeData, VectorscopePutsRedAboveAndBlueRightOfCentre) {
  const std::vector<std::uint8_t> red{255, 0, 0, 255}, blue{0, 0, 255, 255};
  const auto cellOf = [](const ScopeData& d) {
    for (std::size_t i = 0; i < d.vector.size(); ++i)
      if (d.vector[i]) return std::pair<int, int>(static_cast<int>(i / 128), static_cast<int>(i % 128));
    return std::pair<int, int>(-1, -1);
  };
  const auto [redRow, redCol] = cellOf(ScopeData::measure(red, 1, 1, 1));
  const auto [blueRow, blueCol] = cellOf(ScopeData::measure(blue, 1, 1, 1));
  EXPECT_LT(redRow, 64);
  EXPECT_GT(blueCol, 64);
  EXPECT_LT(redCol, 64);  // red carries negative B − Y
}

TEST(ScopeData, ShortBufferOrEmptyColumnGivesZeros) {
  const std::vector<std::uint8_t> rgba(10, 200);
  const ScopeData data = ScopeData::measure(rgba, 2, 2, 4);
  EXPECT_EQ(data.waveform.size(), 4u * 256);
  for (auto n : data.histY) EXPECT_EQ(n, 0u);
  EXPECT_EQ(data.columnMeanLuma(1), 0);
}

}  // namespace
}  // namespace brevelan
