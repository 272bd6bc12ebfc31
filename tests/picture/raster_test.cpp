#include "picture/raster.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <numbers>

#include "picture/layer_geometry.h"
#include "picture/reframe.h"

#include "picture_fixture.h"

namespace brevelan {
namespace {

using testing::Pixel;
using testing::pixel;

Picture solid(int w, int h, RGBA colour, PixelOrder order = PixelOrder::rgba) {
  Picture p(w, h, order);
  fill(p, colour);
  return p;
}

void expectNear(Pixel actual, Pixel expected, int tolerance, const std::string& where) {
  for (std::size_t c = 0; c < 4; ++c) EXPECT_NEAR(actual[c], expected[c], tolerance) << where << " channel " << c;
}

Point expectMaps(const Affine& m, Point from, Point to, const std::string& where) {
  const Point got = m.apply(from);
  EXPECT_NEAR(got.x, to.x, 1e-9) << where;
  EXPECT_NEAR(got.y, to.y, 1e-9) << where;
  return got;
}

TEST(Affine, ComposesInOrderAndInverts) {
  expectMaps(translation(1, 0).then(scaling(2, 1)), {0, 0}, {2, 0}, "translate then scale");
  expectMaps(compose(translation(1, 0), scaling(2, 1)), {0, 0}, {1, 0}, "outer translate");
  const Affine m = translation(3, 4).then(rotation(0.7)).then(scaling(2, -3));
  expectMaps(compose(*m.inverse(), m), {5, -7}, {5, -7}, "inverse");
  EXPECT_FALSE(scaling(0, 1).inverse());
  EXPECT_TRUE(scaling(0.5, 0.5).then(scaling(2, 2)).then(translation(3, -2)).isIntegerTranslation());
  EXPECT_FALSE(translation(0.5, 0).isIntegerTranslation());
}

TEST(Raster, FillStoresPremultipliedInPixelOrder) {
  expectNear(pixel(solid(1, 1, {1, 0.5, 0, 0.5}), 0, 0), {128, 64, 0, 128}, 0, "rgba");
  expectNear(pixel(solid(1, 1, {1, 0.5, 0, 0.5}, PixelOrder::bgra), 0, 0), {0, 64, 128, 128}, 0, "bgra");
}

// Every drawing path (copy, 2× shrink, separable resampling, turned) must
// scale all four components by the opacity: 50 % white over black is 128.
TEST(Raster, HalfWhiteOverBlackIsMidGreyOnEveryPath) {
  const auto about = [](double cx, double cy, const Affine& m, double tx, double ty) {
    return translation(-cx, -cy).then(m).then(translation(tx, ty));
  };
  const struct {
    const char* name;
    int srcSize;
    Affine place;
  } cases[] = {
      {"identity", 8, Affine{}},
      {"half-pixel offset", 8, translation(0.5, 0)},
      {"exact half", 16, about(8, 8, scaling(0.5, 0.5), 4, 4)},
      {"area shrink", 20, about(10, 10, scaling(0.4, 0.4), 4, 4)},
      {"enlarged and mirrored", 4, about(2, 2, scaling(-2.5, 2.5), 4, 4)},
      {"turned", 8, about(4, 4, rotation(std::numbers::pi / 2), 4, 4)},
      {"turned and shrunk", 40, about(20, 20, rotation(0.3).then(scaling(0.3, 0.3)), 4, 4)},
  };
  for (const auto& c : cases) {
    Picture dst = solid(8, 8, RGBA::black());
    drawOver(dst, solid(c.srcSize, c.srcSize, RGBA::white()), c.place, 0.5);
    expectNear(pixel(dst, 4, 4), {128, 128, 128, 255}, 0, c.name);
    expectNear(pixel(dst, 3, 3), {128, 128, 128, 255}, 0, c.name);
  }
}

TEST(Raster, WholePixelOffsetCopiesClippedRows) {
  Picture src(4, 4, PixelOrder::rgba);
  for (int i = 0; i < 64; ++i) src.pixels[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(i % 4 == 3 ? 255 : i);
  Picture dst = blankPicture(4, 4);
  drawOver(dst, src, translation(-1, 2), 1);
  EXPECT_EQ(pixel(dst, 0, 2), pixel(src, 1, 0));
  EXPECT_EQ(pixel(dst, 2, 3), pixel(src, 3, 1));
  EXPECT_EQ(pixel(dst, 3, 2), (Pixel{0, 0, 0, 0}));
  EXPECT_EQ(pixel(dst, 0, 1), (Pixel{0, 0, 0, 0}));
}

TEST(Raster, EdgesCountByCoverage) {
  // A 2-pixel picture at x = 0.5 half-covers its two outer pixels.
  Picture row = blankPicture(4, 1);
  drawOver(row, solid(2, 1, RGBA::white()), translation(0.5, 0), 1);
  EXPECT_EQ(pixel(row, 0, 0)[3], 128);
  EXPECT_EQ(pixel(row, 1, 0)[3], 255);
  EXPECT_EQ(pixel(row, 2, 0)[3], 128);
  EXPECT_EQ(pixel(row, 3, 0)[3], 0);
  // Enlarged to exactly the target size, the border is not darkened.
  Picture big = blankPicture(6, 6);
  drawOver(big, solid(4, 4, RGBA::white()), scaling(1.5, 1.5), 1);
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(pixel(big, i, 0)[3], 255) << i;
    EXPECT_EQ(pixel(big, 5, i)[3], 255) << i;
  }
}

// One-pixel stripes shrunk must come out as an even grey, not as a beat
// pattern of black and white columns.
TEST(Raster, ShrinkingFineDetailDoesNotAlias) {
  Picture stripes(120, 120, PixelOrder::rgba);
  for (int y = 0; y < 120; ++y)
    for (int x = 0; x < 120; ++x) std::memset(stripes.row(y) + x * 4, x % 2 ? 255 : 0, 3), stripes.row(y)[x * 4 + 3] = 255;
  const struct {
    const char* name;
    Affine place;
    int low, high;
  } cases[] = {
      {"exact half", scaling(0.5, 0.5), 127, 128},
      {"0.3", scaling(0.3, 0.3), 95, 160},
      {"0.3 turned", rotation(0.2).then(scaling(0.3, 0.3)).then(translation(5, 0)), 85, 170},
  };
  for (const auto& c : cases) {
    Picture dst = solid(24, 24, RGBA::black());
    drawOver(dst, stripes, c.place, 1);
    for (int y = 8; y < 16; ++y)
      for (int x = 8; x < 16; ++x) {
        EXPECT_GE(pixel(dst, x, y)[0], c.low) << c.name << " at " << x << "," << y;
        EXPECT_LE(pixel(dst, x, y)[0], c.high) << c.name << " at " << x << "," << y;
      }
  }
}

TEST(Raster, DegenerateOrFarAwayPlacementsDrawNothing) {
  const Picture white = solid(4, 4, RGBA::white());
  for (const Affine& m : {scaling(0, 1), translation(std::nan(""), 0), translation(1e12, -1e12),
                          rotation(0.5).then(translation(-1e9, 3))}) {
    Picture dst = solid(4, 4, RGBA::black());
    drawOver(dst, white, m, 1);
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 4; ++x) ASSERT_EQ(pixel(dst, x, y), (Pixel{0, 0, 0, 255})) << m.tx;
  }
  // Extended, a picture far away still paints its nearest edge colour everywhere.
  Picture dst = blankPicture(2, 2);
  drawExtended(dst, white, translation(1e12, 0));
  EXPECT_EQ(pixel(dst, 1, 1), (Pixel{255, 255, 255, 255}));
}

TEST(Raster, SourceOverBandBlendsPartialEdgeColumns) {
  Picture dst = solid(4, 1, RGBA::black());
  sourceOver(dst, solid(4, 1, RGBA::white()), Box{1.5, 0, 4, 1});
  EXPECT_EQ(pixel(dst, 0, 0)[0], 0);
  EXPECT_EQ(pixel(dst, 1, 0)[0], 128);
  EXPECT_EQ(pixel(dst, 2, 0)[0], 255);
  EXPECT_EQ(pixel(dst, 3, 0)[0], 255);
}

TEST(Raster, BlurKeepsFlatAreasAndSpreadsLikeTheGaussian) {
  Picture flat = solid(20, 10, {0.2, 0.4, 0.6, 1});
  const Pixel before = pixel(flat, 0, 0);
  gaussianBlur(flat, 4);
  for (const auto& [x, y] : {std::pair{0, 0}, {19, 9}, {10, 5}}) EXPECT_EQ(pixel(flat, x, y), before);

  // A one-pixel white line keeps its energy and spreads with variance sigma².
  const double sigma = 3;
  Picture line = solid(41, 3, RGBA::black());
  for (int y = 0; y < 3; ++y) std::memset(line.row(y) + 20 * 4, 255, 4);
  gaussianBlur(line, sigma);
  double total = 0, spread = 0;
  for (int x = 0; x < 41; ++x) {
    total += pixel(line, x, 1)[0];
    spread += pixel(line, x, 1)[0] * (x - 20.0) * (x - 20.0);
  }
  EXPECT_NEAR(total, 255, 255 * 0.05);
  EXPECT_NEAR(std::sqrt(spread / total), sigma, sigma * 0.1);
  EXPECT_EQ(pixel(line, 17, 1), pixel(line, 23, 1));
}

TEST(LayerGeometry, FitModesScaleAboutTheCanvasCentre) {
  const struct {
    FitMode fit;
    Point topLeft, bottomRight;
  } cases[] = {
      {FitMode::fit, {0, 75}, {200, 125}},
      {FitMode::fill, {-300, 0}, {500, 200}},
      {FitMode::stretch, {0, 0}, {200, 200}},
  };
  for (const auto& c : cases) {
    Transform t;
    t.fit = c.fit;
    const Affine m = clipPlacement(t, 400, 100, 200, 200, 0);
    expectMaps(m, {0, 0}, c.topLeft, std::string(text(c.fit)));
    expectMaps(m, {400, 100}, c.bottomRight, std::string(text(c.fit)));
  }
}

// On screen: +y moves up, positive rotation turns counter-clockwise, flipH
// mirrors, Ken Burns eases and adds its zoom and offset.
TEST(LayerGeometry, PositionRotationFlipAndKenBurnsReadAsOnScreen) {
  Transform moved;
  moved.x = 10;
  moved.y = 20;
  expectMaps(clipPlacement(moved, 100, 100, 100, 100, 0), {50, 50}, {60, 30}, "position");

  Transform turned;
  turned.rotation = 90;
  expectMaps(clipPlacement(turned, 100, 100, 100, 100, 0), {100, 50}, {50, 0}, "right edge turns to the top");

  Transform flipped;
  flipped.flipH = true;
  expectMaps(clipPlacement(flipped, 100, 100, 100, 100, 0), {0, 50}, {100, 50}, "left edge to the right");

  Transform kb;
  kb.kenBurns = {1, 2, 0, 0, 100, 100, true};
  EXPECT_DOUBLE_EQ(kenBurnsProgress(kb.kenBurns, 0.25), 0.15625);
  const Affine m = clipPlacement(kb, 100, 100, 100, 100, 0.25);
  expectMaps(m, {50, 50}, {65.625, 34.375}, "eased offset, up");
  expectMaps(m, {60, 50}, {65.625 + 11.5625, 34.375}, "eased zoom");
}

TEST(LayerGeometry, CropRectKeepsSizesAtZeroOrMore) {
  Transform t;
  t.cropL = 0.1;
  t.cropR = 0.2;
  t.cropT = 0.25;
  EXPECT_EQ(cropRect(t, 100, 40), (PixelRect{10, 10, 70, 30}));
  t.cropL = 0.9;
  t.cropB = 0.9;
  EXPECT_EQ(cropRect(t, 100, 40), (PixelRect{90, 10, 0, 0}));
}

TEST(Reframe, EqualSizesPassUnchanged) {
  Picture canvas(8, 4, PixelOrder::bgra);
  for (std::size_t i = 0; i < canvas.bytes(); ++i) canvas.pixels[i] = static_cast<std::uint8_t>(i * 7);
  for (const Reframe mode : {Reframe::fit, Reframe::fitBlur, Reframe::fill}) {
    const Picture out = reframe(canvas, 8, 4, mode);
    ASSERT_EQ(out.bytes(), canvas.bytes());
    EXPECT_EQ(std::memcmp(out.pixels.get(), canvas.pixels.get(), canvas.bytes()), 0) << text(mode);
  }
}

TEST(Reframe, LandscapeIntoPortrait) {
  const Picture red = solid(64, 36, {1, 0, 0, 1});
  const Picture filled = reframe(red, 36, 64, Reframe::fill);
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 36; ++x) ASSERT_EQ(pixel(filled, x, y), (Pixel{255, 0, 0, 255})) << x << "," << y;

  const Picture fitted = reframe(red, 36, 64, Reframe::fit);
  EXPECT_EQ(pixel(fitted, 18, 2), (Pixel{0, 0, 0, 255}));
  EXPECT_EQ(pixel(fitted, 18, 32), (Pixel{255, 0, 0, 255}));

  // The bars show the frame itself, blurred and at 55 % over black.
  const Picture blurred = reframe(solid(192, 108, {1, 0, 0, 1}), 108, 192, Reframe::fitBlur);
  expectNear(pixel(blurred, 54, 2), {140, 0, 0, 255}, 1, "bar");
  expectNear(pixel(blurred, 0, 189), {140, 0, 0, 255}, 1, "bar corner");
  EXPECT_EQ(pixel(blurred, 54, 96), (Pixel{255, 0, 0, 255}));
}

}  // namespace
}  // namespace brevelan
