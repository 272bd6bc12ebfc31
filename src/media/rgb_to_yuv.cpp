#include "media/rgb_to_yuv.h"

#include <algorithm>
#include <cstring>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace brevelan {
namespace {

// BT.709 from full-range R′G′B′ to video range, in 15 fraction bits so that
// the factors fit the 16-bit lanes of a multiply-add: luma spans 219 of 255
// steps and chroma 224. Each chroma row sums to zero, so grey has no colour.
constexpr int kYR = 5983, kYG = 20127, kYB = 2032;
constexpr int kBR = -3298, kBG = -11094, kBB = 14392;
constexpr int kRR = 14392, kRG = -13072, kRB = -1320;

// Luma is one pixel in 15 fraction bits; chroma the sum of four in 17.
// `bits` widens the result (0 for 8-bit samples, 2 for 10-bit).
inline int lumaOffset(int bits) { return (16 << 15 << bits) + (1 << 14); }
inline int chromaOffset(int bits) { return (128 << 17 << bits) + (1 << 16); }

// Channel offsets of red and blue in a pixel (green is always 1).
struct Order {
  int r, b;
};
Order orderOf(PixelOrder order) { return order == PixelOrder::rgba ? Order{0, 2} : Order{2, 0}; }

template <typename Sample>
void lumaScalar(const std::uint8_t* p, Sample* y, int from, int to, Order o, int bits) {
  const int offset = lumaOffset(bits);
  for (int x = from; x < to; ++x) {
    const int v = kYR * p[4 * x + o.r] + kYG * p[4 * x + 1] + kYB * p[4 * x + o.b];
    y[x] = static_cast<Sample>(((v << bits) + offset) >> 15);
  }
}

// Chroma samples from..to of two rows (`below` may equal `above`), each from
// a horizontal pair of pixels in both.
template <typename Sample>
void chromaScalar(const std::uint8_t* above, const std::uint8_t* below, Sample* cb, Sample* cr, int from, int to,
                  Order o, int bits) {
  const int offset = chromaOffset(bits);
  for (int x = from; x < to; ++x) {
    const std::uint8_t* a = above + 8 * x;
    const std::uint8_t* c = below + 8 * x;
    const int sr = a[o.r] + a[4 + o.r] + c[o.r] + c[4 + o.r];
    const int sg = a[1] + a[5] + c[1] + c[5];
    const int sb = a[o.b] + a[4 + o.b] + c[o.b] + c[4 + o.b];
    cb[x] = static_cast<Sample>((((kBR * sr + kBG * sg + kBB * sb) << bits) + offset) >> 17);
    cr[x] = static_cast<Sample>((((kRR * sr + kRG * sg + kRB * sb) << bits) + offset) >> 17);
  }
}

#if defined(__SSE2__)
// Factors for the multiply-add of one pixel's 16-bit channels, in the
// pixel's own channel order, alpha weighted 0.
__m128i factors(int r, int g, int b, Order o) {
  alignas(16) std::int16_t f[8] = {};
  for (int i = 0; i < 2; ++i) {
    f[4 * i + o.r] = static_cast<std::int16_t>(r);
    f[4 * i + 1] = static_cast<std::int16_t>(g);
    f[4 * i + o.b] = static_cast<std::int16_t>(b);
  }
  return _mm_load_si128(reinterpret_cast<const __m128i*>(f));
}

// Weighted sums of four pixels held as 16-bit channels, two per register:
// the multiply-add leaves two partial sums per pixel, added here.
inline __m128i weighted(__m128i first, __m128i second, __m128i k) {
  const __m128 a = _mm_castsi128_ps(_mm_madd_epi16(first, k));
  const __m128 b = _mm_castsi128_ps(_mm_madd_epi16(second, k));
  return _mm_add_epi32(_mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))),
                       _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))));
}

inline __m128i load(const std::uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// Eight sums of 32 bits, widened by `bits`, rounded down to `shift`
// fewer fraction bits and narrowed to 16 bits.
inline __m128i narrow(__m128i low, __m128i high, int bits, __m128i offset, int shift) {
  const auto one = [&](__m128i v) {
    return _mm_srai_epi32(_mm_add_epi32(_mm_slli_epi32(v, bits), offset), shift);
  };
  return _mm_packs_epi32(one(low), one(high));
}

template <typename Sample>
void lumaRow(const std::uint8_t* p, Sample* y, int width, Order o, int bits) {
  const __m128i k = factors(kYR, kYG, kYB, o);
  const __m128i offset = _mm_set1_epi32(lumaOffset(bits));
  const __m128i zero = _mm_setzero_si128();
  int x = 0;
  for (; x + 8 <= width; x += 8) {
    const __m128i p0 = load(p + 4 * x), p1 = load(p + 4 * x + 16);
    const __m128i low = weighted(_mm_unpacklo_epi8(p0, zero), _mm_unpackhi_epi8(p0, zero), k);
    const __m128i high = weighted(_mm_unpacklo_epi8(p1, zero), _mm_unpackhi_epi8(p1, zero), k);
    const __m128i v = narrow(low, high, bits, offset, 15);
    if constexpr (sizeof(Sample) == 1)
      _mm_storel_epi64(reinterpret_cast<__m128i*>(y + x), _mm_packus_epi16(v, v));
    else
      _mm_storeu_si128(reinterpret_cast<__m128i*>(y + x), v);
  }
  lumaScalar(p, y, x, width, o, bits);
}

template <typename Sample>
void chromaRow(const std::uint8_t* above, const std::uint8_t* below, Sample* cb, Sample* cr, int count, Order o,
               int bits) {
  const __m128i kb = factors(kBR, kBG, kBB, o);
  const __m128i kr = factors(kRR, kRG, kRB, o);
  const __m128i offset = _mm_set1_epi32(chromaOffset(bits));
  const __m128i zero = _mm_setzero_si128();
  // Two pixels' 16-bit channels, summed over both rows, then over the pair
  // (the pair's sum lands in both halves of the register).
  const auto pairSum = [&](__m128i a, __m128i c) {
    const __m128i s = _mm_add_epi16(a, c);
    return _mm_add_epi16(s, _mm_shuffle_epi32(s, _MM_SHUFFLE(1, 0, 3, 2)));
  };
  int x = 0;
  for (; x + 8 <= count; x += 8) {
    __m128i sums[8];
    for (int half = 0; half < 4; ++half) {
      const __m128i a = load(above + 8 * x + 16 * half), c = load(below + 8 * x + 16 * half);
      sums[2 * half] = pairSum(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(c, zero));
      sums[2 * half + 1] = pairSum(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(c, zero));
    }
    // Blocks two to a register, for four results per multiply-add pair.
    const __m128i b01 = _mm_unpacklo_epi64(sums[0], sums[1]), b23 = _mm_unpacklo_epi64(sums[2], sums[3]);
    const __m128i b45 = _mm_unpacklo_epi64(sums[4], sums[5]), b67 = _mm_unpacklo_epi64(sums[6], sums[7]);
    const __m128i u = narrow(weighted(b01, b23, kb), weighted(b45, b67, kb), bits, offset, 17);
    const __m128i v = narrow(weighted(b01, b23, kr), weighted(b45, b67, kr), bits, offset, 17);
    if constexpr (sizeof(Sample) == 1) {
      _mm_storel_epi64(reinterpret_cast<__m128i*>(cb + x), _mm_packus_epi16(u, u));
      _mm_storel_epi64(reinterpret_cast<__m128i*>(cr + x), _mm_packus_epi16(v, v));
    } else {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(cb + x), u);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(cr + x), v);
    }
  }
  chromaScalar(above, below, cb, cr, x, count, o, bits);
}
#else
template <typename Sample>
void lumaRow(const std::uint8_t* p, Sample* y, int width, Order o, int bits) {
  lumaScalar(p, y, 0, width, o, bits);
}

template <typename Sample>
void chromaRow(const std::uint8_t* above, const std::uint8_t* below, Sample* cb, Sample* cr, int count, Order o,
               int bits) {
  chromaScalar(above, below, cb, cr, 0, count, o, bits);
}
#endif

// A row with its last pixel repeated once more, for chroma of an odd width.
const std::uint8_t* evenRow(const std::uint8_t* row, int width, std::uint8_t* scratch) {
  std::copy(row, row + 4 * width, scratch);
  std::copy(row + 4 * (width - 1), row + 4 * width, scratch + 4 * width);
  return scratch;
}

// Row by row, luma and then the chroma of the same rows while they are
// still in the cache.
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
      lumaRow(picture.row(y), out.y + static_cast<std::ptrdiff_t>(y) * out.yStride, width, o, bits);
    const std::uint8_t* above = picture.row(top);
    const std::uint8_t* below = picture.row(bottom);
    if (odd) {
      above = evenRow(above, width, scratchA.data());
      below = evenRow(below, width, scratchB.data());
    }
    const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(cy) * out.cStride;
    chromaRow(above, below, out.cb + at, out.cr + at, pairs, o, bits);
  }
}

// Whether two pixels of a row and the two below them are all clear.
inline bool clearBlock(const std::uint8_t* above, const std::uint8_t* below) {
  std::uint64_t a, b;
  std::memcpy(&a, above, 8);
  std::memcpy(&b, below, 8);
  return (a | b) == 0;
}

// One 2 × 2 block (or less at an odd edge): `pixels` of the picture at the
// frame's luma samples `luma`, all over the chroma sample (cb, cr).
void blendBlock(const std::uint8_t* const pixels[4], std::uint8_t* const luma[4], int count, std::uint8_t* cb,
                std::uint8_t* cr, Order o) {
  int sumR = 0, sumG = 0, sumB = 0, sumA = 0;
  for (int i = 0; i < count; ++i) {
    const std::uint8_t* p = pixels[i];
    const int r = p[o.r], g = p[1], b = p[o.b], a = p[3];
    // y′ = luma of the colour + 16·α + (1 − α)·y, in 15 fraction bits.
    const std::int64_t under = std::int64_t{16 * a + *luma[i] * (255 - a)} * 32768 / 255;
    const std::int64_t v = (kYR * r + kYG * g + kYB * b + under + (1 << 14)) >> 15;
    *luma[i] = static_cast<std::uint8_t>(std::clamp<std::int64_t>(v, 0, 255));
    sumR += r;
    sumG += g;
    sumB += b;
    sumA += a;
  }
  // Chroma: the mean over the block's pixels, in 17 fraction bits for four.
  const int scale = 4 / count;
  const auto chroma = [&](int kr, int kg, int kb, int c) {
    const int colour = scale * (kr * sumR + kg * sumG + kb * sumB);
    const std::int64_t under = static_cast<std::int64_t>(scale) * (128 * sumA + c * (255 * count - sumA)) * 32768 / 255;
    return static_cast<std::uint8_t>(std::clamp<std::int64_t>((colour + under + (1 << 16)) >> 17, 0, 255));
  };
  *cb = chroma(kBR, kBG, kBB, *cb);
  *cr = chroma(kRR, kRG, kRB, *cr);
}

}  // namespace

void blendOver(const Picture& picture, const YUVPlanes<std::uint8_t>& frame) {
  const int width = picture.width, height = picture.height;
  const Order o = orderOf(picture.order);
  for (int y = 0; y < height; y += 2) {
    const int y1 = std::min(y + 1, height - 1);
    const std::uint8_t* above = picture.row(y);
    const std::uint8_t* below = picture.row(y1);
    std::uint8_t* lumaAbove = frame.y + static_cast<std::ptrdiff_t>(y) * frame.yStride;
    std::uint8_t* lumaBelow = frame.y + static_cast<std::ptrdiff_t>(y1) * frame.yStride;
    std::uint8_t* cb = frame.cb + static_cast<std::ptrdiff_t>(y / 2) * frame.cStride;
    std::uint8_t* cr = frame.cr + static_cast<std::ptrdiff_t>(y / 2) * frame.cStride;
    for (int x = 0; x < width; x += 2) {
      if (x + 1 < width && clearBlock(above + 4 * x, below + 4 * x)) continue;
      const int x1 = std::min(x + 1, width - 1);
      // Odd edges: the block's missing pixels are left out, not repeated.
      const std::uint8_t* pixels[4] = {above + 4 * x, above + 4 * x1, below + 4 * x, below + 4 * x1};
      std::uint8_t* luma[4] = {lumaAbove + x, lumaAbove + x1, lumaBelow + x, lumaBelow + x1};
      int count = 4;
      if (x1 == x && y1 == y) {
        count = 1;
      } else if (x1 == x) {
        pixels[1] = pixels[2];
        luma[1] = luma[2];
        count = 2;
      } else if (y1 == y) {
        count = 2;
      }
      blendBlock(pixels, luma, count, cb + x / 2, cr + x / 2, o);
    }
  }
}

void toYUV420(const Picture& picture, const YUVPlanes<std::uint8_t>& out) { convert(picture, out, 2, 0); }

void toYUV422Deep(const Picture& picture, const YUVPlanes<std::uint16_t>& out) { convert(picture, out, 1, 2); }

}  // namespace brevelan
