#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "media/ffmpeg_ptr.h"
#include "media/rgb_to_yuv.h"

extern "C" {
#include <libswscale/swscale.h>
}

namespace brevelan {
namespace {

Picture flat(int width, int height, PixelOrder order, int r, int g, int b) {
  Picture picture(width, height, order);
  const int red = order == PixelOrder::rgba ? 0 : 2;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      std::uint8_t* p = picture.row(y) + 4 * x;
      p[red] = static_cast<std::uint8_t>(r);
      p[1] = static_cast<std::uint8_t>(g);
      p[2 - red] = static_cast<std::uint8_t>(b);
      p[3] = 255;
    }
  return picture;
}

struct Planes8 {
  int width, height, cw, ch;
  std::vector<std::uint8_t> y, cb, cr;
  Planes8(int w, int h, int chromaRows)
      : width(w), height(h), cw((w + 1) / 2), ch((h + chromaRows - 1) / chromaRows), y(w * h), cb(cw * ch), cr(cw * ch) {}
  YUVPlanes<std::uint8_t> planes() { return {y.data(), cb.data(), cr.data(), width, cw}; }
};

// Flat colours land on their BT.709 video-range values in either byte order
// and at odd sizes, in 8-bit 4:2:0 and 10-bit 4:2:2 alike.
TEST(RGBToYUV, FlatColoursGiveTheirBT709Values) {
  struct Case {
    int r, g, b, y, cb, cr;
  } cases[] = {{0, 0, 0, 16, 128, 128},     {255, 255, 255, 235, 128, 128}, {255, 0, 0, 63, 102, 240},
               {0, 255, 0, 173, 42, 26},    {0, 0, 255, 32, 240, 118},     {128, 128, 128, 126, 128, 128}};
  for (const Case& c : cases) {
    for (const PixelOrder order : {PixelOrder::rgba, PixelOrder::bgra}) {
      // 21 wide: whole blocks of eight, a remainder, and an odd last column.
      const Picture picture = flat(21, 5, order, c.r, c.g, c.b);
      Planes8 out(21, 5, 2);
      toYUV420(picture, out.planes());
      for (std::uint8_t v : out.y) EXPECT_EQ(v, c.y) << c.r << "," << c.g << "," << c.b;
      for (std::uint8_t v : out.cb) EXPECT_EQ(v, c.cb) << c.r << "," << c.g << "," << c.b;
      for (std::uint8_t v : out.cr) EXPECT_EQ(v, c.cr) << c.r << "," << c.g << "," << c.b;

      std::vector<std::uint16_t> y(21 * 5), cb(11 * 5), cr(11 * 5);
      toYUV422Deep(picture, {y.data(), cb.data(), cr.data(), 21, 11});
      for (std::uint16_t v : y) EXPECT_NEAR(v, 4 * c.y, 2);
      for (std::uint16_t v : cb) EXPECT_NEAR(v, 4 * c.cb, 2);
      for (std::uint16_t v : cr) EXPECT_NEAR(v, 4 * c.cr, 2);
    }
  }
}

// A picture of gradients agrees with swscale's own conversion: luma within one step,
// chroma (swscale filters it a little differently) within a few.
TEST(RGBToYUV, AgreesWithSwscale) {
  const int w = 64, h = 48;
  Picture picture(w, h, PixelOrder::rgba);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      std::uint8_t* p = picture.row(y) + 4 * x;
      p[0] = static_cast<std::uint8_t>(x * 4);
      p[1] = static_cast<std::uint8_t>(y * 5);
      p[2] = static_cast<std::uint8_t>(250 - 2 * (x + y));
      p[3] = 255;
    }
  Planes8 ours(w, h, 2), theirs(w, h, 2);
  toYUV420(picture, ours.planes());

  ff::ScalePtr scaler(sws_getContext(w, h, AV_PIX_FMT_RGBA, w, h, AV_PIX_FMT_YUV420P, SWS_BILINEAR | SWS_ACCURATE_RND,
                                     nullptr, nullptr, nullptr));
  sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(SWS_CS_ITU709), 1, sws_getCoefficients(SWS_CS_ITU709), 0,
                           0, 1 << 16, 1 << 16);
  const std::uint8_t* src[4] = {picture.pixels.get()};
  const int srcStride[4] = {4 * w};
  std::uint8_t* dst[4] = {theirs.y.data(), theirs.cb.data(), theirs.cr.data()};
  const int dstStride[4] = {w, w / 2, w / 2};
  sws_scale(scaler.get(), src, srcStride, 0, h, dst, dstStride);

  for (std::size_t i = 0; i < ours.y.size(); ++i) ASSERT_NEAR(ours.y[i], theirs.y[i], 1) << i;
  // Chroma away from the edges, where swscale's filter reaches past the picture.
  for (int y = 1; y < h / 2 - 1; ++y)
    for (int x = 1; x < w / 2 - 1; ++x) {
      ASSERT_NEAR(ours.cb[y * (w / 2) + x], theirs.cb[y * (w / 2) + x], 4) << x << "," << y;
      ASSERT_NEAR(ours.cr[y * (w / 2) + x], theirs.cr[y * (w / 2) + x], 4) << x << "," << y;
    }
}

// Laying a premultiplied picture over a frame in Y′CbCr gives the frame of
// the same blend done in R′G′B′, at odd sizes too; clear pixels change nothing.
TEST(RGBToYUV, BlendingOverAFrameMatchesBlendingInRGB) {
  const int w = 13, h = 7;
  const Picture under = flat(w, h, PixelOrder::rgba, 40, 160, 220);
  Picture over(w, h, PixelOrder::bgra);
  Picture expected(w, h, PixelOrder::rgba);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      // Clear on the left, then alpha rising to opaque; colour premultiplied.
      const int a = x < 4 ? 0 : std::min(255, (x - 4) * 40 + y * 5);
      const int straight[3] = {250, 30 + 10 * y, 90};
      std::uint8_t* o = over.row(y) + 4 * x;
      std::uint8_t* e = expected.row(y) + 4 * x;
      const std::uint8_t* u = under.row(y) + 4 * x;
      for (int c = 0; c < 3; ++c) {
        const double s = straight[c] * a / 255.0;
        o[2 - c] = static_cast<std::uint8_t>(std::lround(s));  // BGRA
        e[c] = static_cast<std::uint8_t>(std::lround(std::round(s) + u[c] * (255 - a) / 255.0));
      }
      o[3] = static_cast<std::uint8_t>(a);
      e[3] = 255;
    }
  Planes8 frame(w, h, 2), reference(w, h, 2);
  toYUV420(under, frame.planes());
  const Planes8 before = frame;
  blendOver(over, frame.planes());
  toYUV420(expected, reference.planes());
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      EXPECT_NEAR(frame.y[y * w + x], reference.y[y * w + x], 1) << x << "," << y;
      if (x < 4) {
        EXPECT_EQ(frame.y[y * w + x], before.y[y * w + x]);
      }
    }
  for (std::size_t i = 0; i < frame.cb.size(); ++i) {
    EXPECT_NEAR(frame.cb[i], reference.cb[i], 1) << i;
    EXPECT_NEAR(frame.cr[i], reference.cr[i], 1) << i;
  }
}

}  // namespace
}  // namespace brevelan
