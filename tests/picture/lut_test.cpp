#include "picture/lut.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <thread>

#include "picture/lut_library.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

using Kind = LUTParseError::Kind;

constexpr const char* kInvert =
    "TITLE \"invert\"\nLUT_3D_SIZE 2\n1 1 1\n0 1 1\n1 0 1\n0 0 1\n1 1 0\n0 1 0\n1 0 0\n0 0 0\n";

int to8(double v) { return static_cast<int>(std::lround(v * 255)); }

TEST(LUT, RefusedTextsSayWhy) {
  struct Case {
    const char* text;
    LUTParseError error;
    const char* description;
  };
  const Case cases[] = {
      {"TITLE \"x\"\n0 0 0\n1 1 1\n", {Kind::notCube},
       "This is not a .cube LUT file (no LUT_3D_SIZE or LUT_1D_SIZE line)."},
      {"LUT_3D_SIZE 1\n0 0 0\n", {Kind::badSize}, "The LUT size is missing or not between 2 and 256."},
      {"LUT_1D_SIZE 257\n", {Kind::badSize}, "The LUT size is missing or not between 2 and 256."},
      {"LUT_3D_SIZE\n", {Kind::badSize}, "The LUT size is missing or not between 2 and 256."},
      {"LUT_3D_SIZE 2.5\n", {Kind::badSize}, "The LUT size is missing or not between 2 and 256."},
      {"LUT_3D_SIZE 3\n0 0 0\n", {Kind::badData, 1}, "The LUT has the wrong number of color lines (1)."},
      // Words that are not numbers make no colour line.
      {"LUT_1D_SIZE 2\n0 0 0\n1 1 x\n", {Kind::badData, 1}, "The LUT has the wrong number of color lines (1)."},
  };
  for (const auto& c : cases) {
    const auto parsed = LUT::parse(c.text);
    ASSERT_FALSE(parsed) << c.text;
    EXPECT_EQ(parsed.error(), c.error) << c.text;
    EXPECT_EQ(parsed.error().description(), c.description);
  }
}

TEST(LUT, InvertCubeMapsColoursAcross) {
  const auto lut = LUT::parse(kInvert);
  ASSERT_TRUE(lut);
  EXPECT_EQ(lut->title, "invert");
  EXPECT_EQ(lut->size, 2);
  EXPECT_TRUE(lut->is3D);
  const ColorRGB out = lut->apply({200 / 255.0, 50 / 255.0, 50 / 255.0});
  EXPECT_EQ(to8(out.r), 55);
  EXPECT_EQ(to8(out.g), 205);
  EXPECT_EQ(to8(out.b), 205);
}

TEST(LUT, OneDimensionalTableWorksPerChannel) {
  // Comments, blank lines, CRLF, lower-case keywords and "+"/".5" numbers are all accepted.
  const auto lut = LUT::parse("# made by hand\r\n\r\nlut_1d_size 2\r\n0 .5 +1\r\n1 1 0\r\n");
  ASSERT_TRUE(lut);
  EXPECT_FALSE(lut->is3D);
  EXPECT_EQ(lut->data.size(), 2u);
  const ColorRGB out = lut->apply({0.25, 0.5, 0.5});
  EXPECT_DOUBLE_EQ(out.r, 0.25);
  EXPECT_DOUBLE_EQ(out.g, 0.75);
  EXPECT_DOUBLE_EQ(out.b, 0.5);
}

TEST(LUT, InputsAreClampedToTheDomain) {
  const auto lut = LUT::parse(
      "LUT_3D_SIZE 2\nDOMAIN_MIN 0 0 -1\nDOMAIN_MAX 2 2 1\n"
      "0 0 0\n1 0 0\n0 1 0\n1 1 0\n0 0 1\n1 0 1\n0 1 1\n1 1 1\n");
  ASSERT_TRUE(lut);
  EXPECT_EQ(lut->domainMin, (std::array<float, 3>{0, 0, -1}));
  const ColorRGB inside = lut->apply({1, 0.5, 0});
  EXPECT_DOUBLE_EQ(inside.r, 0.5);
  EXPECT_DOUBLE_EQ(inside.g, 0.25);
  EXPECT_DOUBLE_EQ(inside.b, 0.5);
  const ColorRGB outside = lut->apply({5, -3, 7});
  EXPECT_EQ(outside, (ColorRGB{1, 0, 1}));
}

TEST(LUT, ParsesFilesFromOtherTools) {
  const std::filesystem::path dir = BREVELAN_SHARED_DIR "/testdata/lut";
  if (!std::filesystem::exists(dir)) GTEST_SKIP() << "shared test data not found at " << dir;
  struct Case {
    const char* file;
    int size;
    bool is3D;
    const char* title;
  };
  const Case cases[] = {
      {"colour_iridas_Demo_1D_domain.cube", 3, false, "Demo"},
      {"colour_ACES_Proxy_10_to_ACES_1D32.cube", 32, false, "ACES Proxy 10 to ACES"},
      {"colour_eotf_sRGB_3D8_domain.cube", 8, true, "sRGB EOTF"},
      {"colour_Three_Dimensional_Table_3D2.cube", 2, true, ""},
      {"ocio_iridas_1d_domain.cube", 5, false, ""},
  };
  for (const auto& c : cases) {
    const auto lut = LUT::parse(testing::readFile(dir / c.file));
    ASSERT_TRUE(lut) << c.file << ": " << lut.error().description();
    EXPECT_EQ(lut->size, c.size) << c.file;
    EXPECT_EQ(lut->is3D, c.is3D) << c.file;
    EXPECT_EQ(lut->title, c.title) << c.file;
  }
  // Per-channel domains: the middle of each channel's range hits the middle entry.
  const auto demo = LUT::parse(testing::readFile(dir / "colour_iridas_Demo_1D_domain.cube"));
  EXPECT_EQ(demo->apply({0.5, 1, 1.5}), (ColorRGB{0.5, 1, 1.5}));
  // The lowest corner of a negative domain is the first entry.
  const auto eotf = LUT::parse(testing::readFile(dir / "colour_eotf_sRGB_3D8_domain.cube"));
  EXPECT_NEAR(eotf->apply({-1, -1, -1}).r, -0.0077399, 1e-7);
  // A 1D shaper followed by a 3D table is not something we read: its 37 lines fit neither size.
  const auto shaper = LUT::parse(testing::readFile(dir / "colour_resolve_shaper_1D10_3D3.cube"));
  ASSERT_FALSE(shaper);
  EXPECT_EQ(shaper.error(), (LUTParseError{Kind::badData, 37}));
}

TEST(LUTLibrary, ParsesOnceAndRetriesOnlyChangedFailures) {
  testing::TempDir dir;
  const auto good = (dir / "invert.cube").string(), bad = (dir / "bad.cube").string();
  testing::writeFile(good, kInvert);
  testing::writeFile(bad, "LUT_3D_SIZE 3\n");
  auto& library = LUTLibrary::shared();
  EXPECT_EQ(library.lut(std::nullopt), nullptr);
  EXPECT_EQ(library.lut((dir / "missing.cube").string()), nullptr);
  EXPECT_EQ(library.lut(bad), nullptr);

  std::shared_ptr<const LUT> seen[4];
  std::vector<std::thread> threads;
  for (auto& s : seen) threads.emplace_back([&s, &good] { s = LUTLibrary::shared().lut(good); });
  for (auto& t : threads) t.join();
  ASSERT_NE(seen[0], nullptr);
  for (const auto& s : seen) EXPECT_EQ(s, seen[0]);
  // Parsed once: a later change on disk does not reach an already loaded LUT.
  testing::writeFile(good, "garbage");
  EXPECT_EQ(library.lut(good), seen[0]);
  // A failed file that is fixed (its size changes) loads on the next request.
  testing::writeFile(bad, kInvert);
  EXPECT_NE(library.lut(bad), nullptr);
}

}  // namespace
}  // namespace brevelan
