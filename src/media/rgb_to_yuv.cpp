#include "media/rgb_to_yuv.h"

#include <algorithm>
#include <vector>

namespace brevelan {
namespace {

// Compiled for AVX2 and for the baseline on x86-64; the loader picks one.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define KERNEL __attribute__((target_clones("avx2", "default")))
#else
#define KERNEL
#endif

// BT.709 from full-range R′G′B′ to video range, in 16 fraction bits: luma
// spans 219 of 255 steps and chroma 224. Each chroma row sums to zero, so
// grey has no colour.
constexpr int kYR = 11966, kYG = 40254, kYB = 4064;
constexpr int kBR = -6595, kBG = -22189, kBB = 28784;
constexpr int kRR = 28784, kRG = -26145, kRB = -2639;

// Channel offsets of red and blue in a pixel (green is always 1).
struct Order {
  int r, b;
};
Order orderOf(PixelOrder order) { return order == PixelOrder::rgba ? Order{0, 2} : Order{2, 0}; }

// Luma of one row, scaled by 2^bits (0 for 8-bit samples, 2 for 10-bit).
template <typename Sample>
KERNEL void lumaRow(const std::uint8_t* __restrict p, Sample* __restrict y, int width, int r, int b, int bits) {
  const int offset = (16 << 16 << bits) + (1 << 15);
  for (int x = 0; x < width; ++x) {
    const int v = kYR * p[4 * x + r] + kYG * p[4 * x + 1] + kYB * p[4 * x + b];
    y[x] = static_cast<Sample>(((v << bits) + offset) >> 16);
  }
}

// Chroma of `count` horizontal pairs from one or two rows (`below` may equal
// `above`): sums of four pixels per sample, so 18 fraction bits.
template <typename Sample>
KERNEL void chromaRow(const std::uint8_t* __restrict above, const std::uint8_t* __restrict below,
                      Sample* __restrict cb, Sample* __restrict cr, int count, int r, int b, int bits) {
  const int offset = (128 << 18 << bits) + (1 << 17);
  for (int x = 0; x < count; ++x) {
    const std::uint8_t* a = above + 8 * x;
    const std::uint8_t* c = below + 8 * x;
    const int sr = a[r] + a[4 + r] + c[r] + c[4 + r];
    const int sg = a[1] + a[5] + c[1] + c[5];
    const int sb = a[b] + a[4 + b] + c[b] + c[4 + b];
    cb[x] = static_cast<Sample>((((kBR * sr + kBG * sg + kBB * sb) << bits) + offset) >> 18);
    cr[x] = static_cast<Sample>((((kRR * sr + kRG * sg + kRB * sb) << bits) + offset) >> 18);
  }
}

// A row with its last pixel repeated once more, for chroma of an odd width.
const std::uint8_t* evenRow(const std::uint8_t* row, int width, std::uint8_t* scratch) {
  std::copy(row, row + 4 * width, scratch);
  std::copy(row + 4 * (width - 1), row + 4 * width, scratch + 4 * width);
  return scratch;
}

template <typename Sample>
void convert(const Picture& picture, const YUVPlanes<Sample>& out, int chromaRows, int bits) {
  const int width = picture.width, height = picture.height;
  if (width <= 0 || height <= 0) return;
  const Order o = orderOf(picture.order);
  const int pairs = (width + 1) / 2;
  const bool odd = width % 2 != 0;
  std::vector<std::uint8_t> scratchA(odd ? 4 * (width + 1) : 0), scratchB(scratchA.size());
  for (int cy = 0; cy * chromaRows < height; ++cy) {
    const int top = cy * chromaRows;
    const int bottom = std::min(top + chromaRows - 1, height - 1);
    for (int y = top; y <= bottom; ++y)
      lumaRow(picture.row(y), out.y + static_cast<std::ptrdiff_t>(y) * out.yStride, width, o.r, o.b, bits);
    const std::uint8_t* above = picture.row(top);
    const std::uint8_t* below = picture.row(bottom);
    if (odd) {
      above = evenRow(above, width, scratchA.data());
      below = evenRow(below, width, scratchB.data());
    }
    const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(cy) * out.cStride;
    chromaRow(above, below, out.cb + at, out.cr + at, pairs, o.r, o.b, bits);
  }
}

}  // namespace

void toYUV420(const Picture& picture, const YUVPlanes<std::uint8_t>& out) { convert(picture, out, 2, 0); }

void toYUV422Deep(const Picture& picture, const YUVPlanes<std::uint16_t>& out) { convert(picture, out, 1, 2); }

}  // namespace brevelan
