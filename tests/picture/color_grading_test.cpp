#include "picture/color_grading.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <random>
#include <thread>

#include "picture/cube_cache.h"
#include "picture/tone_curve.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

int to8(double v) { return static_cast<int>(std::lround(v * 255)); }

// A picture whose pixels are the given straight (opaque) colours, in that order.
Picture pictureOf(const std::vector<std::array<int, 4>>& pixels, PixelOrder order) {
  Picture picture(static_cast<int>(pixels.size()), 1, order);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const auto [r, g, b, a] = pixels[i];
    std::uint8_t* p = picture.row(0) + i * 4;
    p[order == PixelOrder::rgba ? 0 : 2] = static_cast<std::uint8_t>(r);
    p[1] = static_cast<std::uint8_t>(g);
    p[order == PixelOrder::rgba ? 2 : 0] = static_cast<std::uint8_t>(b);
    p[3] = static_cast<std::uint8_t>(a);
  }
  return picture;
}

std::array<int, 4> pixelAt(const Picture& picture, int x) {
  const std::uint8_t* p = picture.at(x, 0);
  const bool rgba = picture.order == PixelOrder::rgba;
  return {p[rgba ? 0 : 2], p[1], p[rgba ? 2 : 0], p[3]};
}

TEST(ColorGrade, WorkedExamplesHoldForOneColourAndForAPicture) {
  testing::TempDir dir;
  testing::writeFile(dir / "invert.cube",
                     "TITLE \"invert\"\nLUT_3D_SIZE 2\n1 1 1\n0 1 1\n1 0 1\n0 0 1\n1 1 0\n0 1 0\n1 0 0\n0 0 0\n");
  struct Case {
    const char* name;
    std::function<void(ColorGrade&)> set;
    std::array<int, 3> in, out;
    int slack;  // the cube interpolates between lattice points
  };
  const Case cases[] = {
      {"exposure +1", [](ColorGrade& g) { g.exposure = 1; }, {128, 128, 128}, {176, 176, 176}, 0},
      {"lift +0.2", [](ColorGrade& g) { g.lift.luma = 0.2; }, {0, 0, 0}, {26, 26, 26}, 0},
      {"gain +0.2", [](ColorGrade& g) { g.gain.luma = 0.2; }, {128, 128, 128}, {154, 154, 154}, 0},
      {"saturation 0", [](ColorGrade& g) { g.saturation = 0; }, {200, 50, 50}, {82, 82, 82}, 0},
      {"master curve", [](ColorGrade& g) { g.master.points = {{0, 0}, {0.5, 0.7}, {1, 1}}; }, {128, 128, 128},
       {179, 179, 179}, 1},
      {"invert LUT", [&](ColorGrade& g) { g.lutPath = (dir / "invert.cube").string(); }, {200, 50, 50},
       {55, 205, 205}, 0},
      {"contrast +0.5", [](ColorGrade& g) { g.contrast = 0.5; }, {160, 96, 128}, {176, 80, 128}, 0},
  };
  for (const auto& c : cases) {
    ColorGrade grade;
    c.set(grade);
    const ColorRGB out = applyGrade(grade, {c.in[0] / 255.0, c.in[1] / 255.0, c.in[2] / 255.0});
    EXPECT_EQ((std::array<int, 3>{to8(out.r), to8(out.g), to8(out.b)}), c.out) << c.name;
    for (const auto order : {PixelOrder::rgba, PixelOrder::bgra}) {
      // Three pixels: a pair graded together and one on its own.
      const std::array<int, 4> in{c.in[0], c.in[1], c.in[2], 255};
      Picture picture = pictureOf({in, in, in}, order);
      CubeCache::shared().apply(grade, picture);
      for (int x = 0; x < 3; ++x) {
        const auto px = pixelAt(picture, x);
        for (int ch = 0; ch < 3; ++ch) EXPECT_NEAR(px[ch], c.out[ch], c.slack) << c.name << " channel " << ch;
        EXPECT_EQ(px[3], 255);
      }
    }
  }
}

TEST(ColorGrade, WheelsTintTowardThePuck) {
  ColorGrade grade;
  grade.gamma.x = 1;  // puck toward red
  const ColorRGB out = applyGrade(grade, {0.5, 0.5, 0.5});
  EXPECT_GT(out.r, 0.5);
  EXPECT_LT(out.g, 0.5);
  EXPECT_DOUBLE_EQ(out.g, out.b);
}

TEST(ColorGrade, IdentityOnlyWhenNothingWouldChange) {
  testing::TempDir dir;
  testing::writeFile(dir / "flat.cube", "LUT_1D_SIZE 2\n0 0 0\n1 1 1\n");
  struct Case {
    const char* name;
    std::function<void(ColorGrade&)> set;
    bool identity;
  };
  const Case cases[] = {
      {"new grade", [](ColorGrade&) {}, true},
      {"disabled with controls set", [](ColorGrade& g) { g.enabled = false, g.exposure = 2, g.saturation = 0; }, true},
      {"corner-point curves", [](ColorGrade& g) { g.red.points = {{1, 1}, {0, 0}, {0.5, 0.5}}; }, true},
      {"LUT file missing", [&](ColorGrade& g) { g.lutPath = (dir / "gone.cube").string(); }, true},
      {"LUT at amount 0", [&](ColorGrade& g) { g.lutPath = (dir / "flat.cube").string(), g.lutAmount = 0; }, true},
      {"LUT loaded", [&](ColorGrade& g) { g.lutPath = (dir / "flat.cube").string(); }, false},
      {"tint", [](ColorGrade& g) { g.tint = 0.1; }, false},
      {"gain puck", [](ColorGrade& g) { g.gain.y = -0.1; }, false},
      {"contrast", [](ColorGrade& g) { g.contrast = -0.2; }, false},
      {"saturation", [](ColorGrade& g) { g.saturation = 1.5; }, false},
      {"blue curve", [](ColorGrade& g) { g.blue.points = {{0, 0.1}, {1, 1}}; }, false},
  };
  for (const auto& c : cases) {
    ColorGrade grade;
    c.set(grade);
    EXPECT_EQ(isIdentity(grade), c.identity) << c.name;
  }
  // A grade that is the identity also computes as one.
  ColorGrade missingLut;
  missingLut.lutPath = (dir / "gone.cube").string();
  const ColorRGB colour{0.2, 0.4, 0.6};
  EXPECT_EQ(applyGrade(missingLut, colour), colour);
}

TEST(ToneCurve, MonotoneThroughItsPointsAndFlatBeyond) {
  ToneCurve curve;
  curve.points = {{0.9, 1}, {0.1, 0}, {0.2, 0.95}};  // unsorted, with a steep rise
  const MonotoneCurve shape(curve);
  EXPECT_DOUBLE_EQ(curveValue(curve, 0.2), 0.95);
  EXPECT_DOUBLE_EQ(curveValue(curve, 0.05), 0);
  EXPECT_DOUBLE_EQ(curveValue(curve, 0.95), 1);
  double previous = 0;
  for (int i = 0; i <= 1000; ++i) {
    const double v = shape(i / 1000.0);
    EXPECT_GE(v, previous - 1e-12) << i;
    EXPECT_LE(v, 1 + 1e-12) << i;
    previous = v;
  }
  // Fewer than two points, or two points on the same x, leave values alone or flat.
  EXPECT_DOUBLE_EQ(curveValue(ToneCurve{{{0.5, 0.9}}}, 0.3), 0.3);
  EXPECT_DOUBLE_EQ(curveValue(ToneCurve{{{0, 0}, {0.5, 0.2}, {0.5, 0.8}, {1, 1}}}, 0.5), 0.8);
}

TEST(ColorCube, NeutralCubeKeepsEveryValue) {
  const auto data = cubeData(ColorGrade{});
  ASSERT_EQ(data.size(), 143'748u);
  // Red varies fastest: the second entry is (1/32, 0, 0), alpha always 1.
  EXPECT_FLOAT_EQ(data[4], 1.0f / 32);
  EXPECT_EQ(data[5], 0.0f);
  EXPECT_EQ(data[7], 1.0f);
  const ColorCube cube(data);
  // Every opaque colour, then every premultiplied (value, alpha) pair.
  Picture opaque(4096, 4096, PixelOrder::rgba);
  for (std::uint32_t i = 0; i < (1u << 24); ++i) {
    const std::uint32_t px = i | 0xFF000000u;
    std::memcpy(opaque.pixels.get() + i * 4, &px, 4);
  }
  Picture translucent(256, 256, PixelOrder::bgra);
  for (int a = 0; a < 256; ++a)
    for (int c = 0; c < 256; ++c) {
      std::uint8_t* p = translucent.row(a) + c * 4;
      p[0] = p[1] = p[2] = static_cast<std::uint8_t>(std::min(c, a));
      p[3] = static_cast<std::uint8_t>(a);
    }
  for (const bool portable : {false, true}) {
    for (Picture* picture : {&opaque, &translucent}) {
      Picture copy = reordered(*picture, picture->order);
      portable ? cube.applyPortable(copy) : cube.apply(copy);
      EXPECT_EQ(std::memcmp(copy.pixels.get(), picture->pixels.get(), picture->bytes()), 0) << portable;
    }
  }
}

TEST(ColorCube, GradedPictureFollowsTheGradeFunction) {
  ColorGrade grade;
  grade.exposure = 0.4;
  grade.temperature = -0.3;
  grade.lift = {0.1, -0.05, 0.05};
  grade.gamma = {-0.2, 0.1, 0.1};
  grade.contrast = 0.2;
  grade.saturation = 1.3;
  grade.green.points = {{0, 0}, {0.4, 0.5}, {1, 1}};
  std::mt19937 random(7);
  std::vector<std::array<int, 4>> pixels;
  for (int i = 0; i < 20000; ++i) {
    const int a = i % 3 == 0 ? 1 + static_cast<int>(random() % 255) : 255;
    pixels.push_back({static_cast<int>(random() % 256), static_cast<int>(random() % 256),
                      static_cast<int>(random() % 256), a});
  }
  const Picture source = pictureOf(pixels, PixelOrder::bgra);
  const auto cube = CubeCache::shared().cube(grade);
  Picture fast = reordered(source, PixelOrder::bgra), portable = reordered(source, PixelOrder::bgra);
  cube->apply(fast);
  cube->applyPortable(portable);
  ASSERT_EQ(std::memcmp(fast.pixels.get(), portable.pixels.get(), fast.bytes()), 0);
  // Reference: the same lattice interpolated in double precision.
  LUT lattice{"", kCubeDimension, true, {0, 0, 0}, {1, 1, 1}, {}};
  const auto data = cubeData(grade);
  for (std::size_t i = 0; i < data.size(); i += 4) lattice.data.push_back({data[i], data[i + 1], data[i + 2]});
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const auto [r, g, b, a] = pixels[i];
    if (a != 255) continue;
    const ColorRGB want = lattice.apply({r / 255.0, g / 255.0, b / 255.0});
    const auto got = pixelAt(fast, static_cast<int>(i));
    EXPECT_NEAR(got[0], want.r * 255, 0.6) << i;
    EXPECT_NEAR(got[1], want.g * 255, 0.6) << i;
    EXPECT_NEAR(got[2], want.b * 255, 0.6) << i;
  }
  // Translucent pixels are graded as their straight colour: half-transparent
  // (200, 50, 50) at saturation 0 becomes premultiplied grey 41.
  ColorGrade grey;
  grey.saturation = 0;
  Picture half(1, 1, PixelOrder::rgba);
  const std::uint8_t px[4] = {100, 25, 25, 127};
  std::memcpy(half.pixels.get(), px, 4);
  CubeCache::shared().apply(grey, half);
  EXPECT_EQ((std::array<int, 4>{half.pixels[0], half.pixels[1], half.pixels[2], half.pixels[3]}),
            (std::array<int, 4>{41, 41, 41, 127}));
}

TEST(CubeCache, SameBytesOrGradeGiveTheSamePreparedCube) {
  auto& cache = CubeCache::shared();
  ColorGrade warm;
  warm.temperature = 0.5;
  std::shared_ptr<const ColorCube> seen[4];
  std::vector<std::thread> threads;
  for (auto& s : seen) threads.emplace_back([&s, &warm] { s = CubeCache::shared().cube(warm); });
  for (auto& t : threads) t.join();
  for (const auto& s : seen) EXPECT_EQ(s, seen[0]);
  EXPECT_EQ(cache.cube(cubeData(warm)), seen[0]);
  ColorGrade cool = warm;
  cool.temperature = -0.5;
  EXPECT_NE(cache.cube(cool), seen[0]);
  EXPECT_EQ(cache.cube(std::vector<float>(100, 0.5f)), nullptr);
}

}  // namespace
}  // namespace brevelan
