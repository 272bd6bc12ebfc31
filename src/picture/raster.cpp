#include "picture/raster.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace brevelan {
namespace {

using Byte = std::uint8_t;

// The per-pixel kernels are compiled twice on x86-64, for AVX2 and for the
// baseline, and the loader picks the one the processor runs. They take their
// factors as plain values: a store through a byte pointer may alias anything
// in memory, which would keep the loops from vectorising.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define KERNEL __attribute__((target_clones("avx2", "default")))
#else
#define KERNEL
#endif

// Rounded x / 255 for x ≤ 255 × 255, without a division.
inline unsigned div255(unsigned x) {
  x += 128;
  return (x + (x >> 8)) >> 8;
}

// The high half of a 16 × 16-bit product.
inline std::uint16_t mulHigh(std::uint16_t a, std::uint16_t b) {
  return static_cast<std::uint16_t>((static_cast<std::uint32_t>(a) * b) >> 16);
}

// A weight 0…1 as a 16-bit fixed-point factor (65536 = 1).
inline std::uint32_t fixed16(double w) { return static_cast<std::uint32_t>(std::lround(std::clamp(w, 0.0, 1.0) * 65536)); }

// Length of the overlap of [a0, a1] and [b0, b1].
inline double overlap(double a0, double a1, double b0, double b1) {
  return std::max(0.0, std::min(a1, b1) - std::max(a0, b0));
}

std::array<int, 3> rgbSlots(PixelOrder order) {
  return order == PixelOrder::rgba ? std::array<int, 3>{0, 1, 2} : std::array<int, 3>{2, 1, 0};
}

KERNEL bool allOpaque(const Byte* s, int n) {
  unsigned all = 255;
  for (int i = 0; i < n; ++i) all &= s[4 * i + 3];
  return all == 255;
}

// Source-over of n premultiplied pixels. Every intermediate fits 16 bits, so
// the loop runs on 16-bit lanes.
KERNEL void blendPixels(Byte* __restrict d, const Byte* __restrict s, int n) {
  for (int i = 0; i < n; ++i) {
    const auto keep = static_cast<std::uint16_t>(255 - s[4 * i + 3]);
    for (int c = 0; c < 4; ++c) {
      auto x = static_cast<std::uint16_t>(d[4 * i + c] * keep + 128);
      x = static_cast<std::uint16_t>((x + (x >> 8)) >> 8);
      // Signed 16-bit: the minimum is one instruction even without SSE4.1.
      const auto v = static_cast<std::int16_t>(s[4 * i + c] + x);
      d[4 * i + c] = static_cast<Byte>(std::min<std::int16_t>(v, 255));
    }
  }
}

KERNEL bool allClear(const Byte* s, int n) {
  unsigned any = 0;
  for (int i = 0; i < 4 * n; ++i) any |= s[i];
  return any == 0;
}

// Source-over of n pixels, a run at a time: clear runs (a title's
// surroundings) leave the destination as it is and opaque runs are copied.
void blendSpan(Byte* __restrict d, const Byte* __restrict s, int n) {
  constexpr int kRun = 128;
  for (int at = 0; at < n; at += kRun) {
    const int m = std::min(kRun, n - at);
    const Byte* from = s + 4 * at;
    Byte* to = d + 4 * at;
    if (allClear(from, m)) continue;
    if (allOpaque(from, m))
      std::memcpy(to, from, static_cast<std::size_t>(m) * 4);
    else
      blendPixels(to, from, m);
  }
}

// out = in × k / 65536, rounded, over `count` bytes (k ≤ 65536); out may be in.
// A factor below 1 runs on 16-bit lanes: (in × 256) × k / 65536 keeps 8
// fraction bits before the final rounding.
KERNEL void scaleBytes(Byte* out, const Byte* in, std::size_t count, std::uint32_t k) {
  if (k >= 65536) {
    if (out != in) std::memmove(out, in, count);
    return;
  }
  const auto k16 = static_cast<std::uint16_t>(k);
  for (std::size_t i = 0; i < count; ++i) {
    const auto high = mulHigh(static_cast<std::uint16_t>(in[i] << 8), k16);
    out[i] = static_cast<Byte>((high + 128u) >> 8);
  }
}

// p = min(p × k / 65536, 255), rounded.
KERNEL void scaleBytesSaturating(Byte* p, std::size_t count, std::uint32_t k) {
  for (std::size_t i = 0; i < count; ++i) p[i] = static_cast<Byte>(std::min((p[i] * k + 32768u) >> 16, 255u));
}

// d = min((d × kd + s × ks) / 65536, 255), rounded.
KERNEL void mixBytes(Byte* __restrict d, const Byte* __restrict s, std::size_t count, std::uint32_t kd,
                     std::uint32_t ks) {
  if (kd < 65536 && ks < 65536 && kd + ks <= 65537) {
    // Weights that sum to at most 1 (a crossfade): both products and their
    // sum fit 16-bit lanes, (v × 256) × k / 65536 keeping 8 fraction bits.
    const auto kd16 = static_cast<std::uint16_t>(kd), ks16 = static_cast<std::uint16_t>(ks);
    for (std::size_t i = 0; i < count; ++i) {
      const auto hd = mulHigh(static_cast<std::uint16_t>(d[i] << 8), kd16);
      const auto hs = mulHigh(static_cast<std::uint16_t>(s[i] << 8), ks16);
      d[i] = static_cast<Byte>(static_cast<std::uint16_t>(hd + hs + 128) >> 8);
    }
    return;
  }
  for (std::size_t i = 0; i < count; ++i) d[i] = static_cast<Byte>(std::min((d[i] * kd + s[i] * ks + 32768u) >> 16, 255u));
}

// d = d × kd / 65536 + add[channel] over n pixels, rounded, saturating;
// add[c] is the colour's share in 1/65536 steps.
KERNEL void mixConstant(Byte* d, int n, std::uint32_t kd, std::array<std::uint32_t, 4> add) {
  const std::uint32_t largest = std::max(std::max(add[0], add[1]), std::max(add[2], add[3]));
  if (kd < 65536 && 255 * static_cast<std::uint64_t>(kd) + largest + 65536 <= 65535u * 256) {
    // As in mixBytes: 8 fraction bits on 16-bit lanes when the sum cannot overflow.
    const auto k16 = static_cast<std::uint16_t>(kd);
    std::array<std::uint16_t, 4> c{};
    for (std::size_t i = 0; i < 4; ++i) c[i] = static_cast<std::uint16_t>((add[i] + 128) >> 8);
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < 4; ++j) {
        Byte& v = d[4 * i + j];
        const auto high = mulHigh(static_cast<std::uint16_t>(v << 8), k16);
        v = static_cast<Byte>(static_cast<std::uint16_t>(high + c[static_cast<std::size_t>(j)] + 128) >> 8);
      }
    return;
  }
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < 4; ++j) {
      Byte& v = d[4 * i + j];
      v = static_cast<Byte>(std::min((v * kd + add[static_cast<std::size_t>(j)] + 32768u) >> 16, 255u));
    }
}

// One output row of an exact 2 × 2 box shrink.
KERNEL void shrink2Row(Byte* __restrict out, const Byte* __restrict r0, const Byte* __restrict r1, int n) {
  for (int i = 0; i < n; ++i)
    for (int c = 0; c < 4; ++c)
      out[4 * i + c] =
          static_cast<Byte>((r0[8 * i + c] + r0[8 * i + 4 + c] + r1[8 * i + c] + r1[8 * i + 4 + c] + 2u) >> 2);
}

// Halves the picture along x, y or both (2 × 1, 1 × 2 or 2 × 2 boxes); an odd
// last column or row averages with itself.
Picture halved(const Picture& p, bool alongX, bool alongY) {
  const int w = alongX ? (p.width + 1) / 2 : p.width;
  const int h = alongY ? (p.height + 1) / 2 : p.height;
  Picture out(w, h, p.order);
  for (int y = 0; y < h; ++y) {
    const Byte* r0 = p.row(alongY ? 2 * y : y);
    const Byte* r1 = p.row(alongY ? std::min(2 * y + 1, p.height - 1) : y);
    Byte* o = out.row(y);
    int x = 0;
    if (alongX) {
      const int pairs = p.width / 2;
      shrink2Row(o, r0, r1, pairs);
      x = pairs;
    }
    for (; x < w; ++x) {
      const int x0 = alongX ? 2 * x : x;
      const int x1 = alongX ? std::min(2 * x + 1, p.width - 1) : x;
      for (int c = 0; c < 4; ++c)
        o[4 * x + c] = static_cast<Byte>((r0[4 * x0 + c] + r0[4 * x1 + c] + r1[4 * x0 + c] + r1[4 * x1 + c] + 2u) >> 2);
    }
  }
  return out;
}

// The part of the destination a draw may touch, inside its bounds.
struct Area {
  int x0 = 0;
  int y0 = 0;
  int x1 = 0;
  int y1 = 0;
};

// Whole-pixel offset at scale 1: rows are blended (or copied) as they are.
void blitTranslated(Picture& dst, const Picture& src, int ox, int oy, double opacity, Area area) {
  const int x0 = std::max(area.x0, ox), x1 = std::min(area.x1, ox + src.width);
  const int y0 = std::max(area.y0, oy), y1 = std::min(area.y1, oy + src.height);
  if (x0 >= x1 || y0 >= y1) return;
  const int n = x1 - x0;
  const std::uint32_t k = fixed16(opacity);
  std::vector<Byte> span(k < 65536 ? static_cast<std::size_t>(n) * 4 : 0);
  for (int y = y0; y < y1; ++y) {
    const Byte* s = src.row(y - oy) + static_cast<std::size_t>(x0 - ox) * 4;
    if (k < 65536) {
      scaleBytes(span.data(), s, span.size(), k);
      s = span.data();
    }
    blendSpan(dst.row(y) + static_cast<std::size_t>(x0) * 4, s, n);
  }
}

// Exactly half size with a whole-pixel offset: each destination pixel is the
// mean of a 2 × 2 block (4K into 1080p).
void blitShrunk2(Picture& dst, const Picture& src, int ox, int oy, double opacity, Area area) {
  const int x0 = std::max(area.x0, ox), x1 = std::min(area.x1, ox + src.width / 2);
  const int y0 = std::max(area.y0, oy), y1 = std::min(area.y1, oy + src.height / 2);
  if (x0 >= x1 || y0 >= y1) return;
  const int n = x1 - x0;
  const std::uint32_t k = fixed16(opacity);
  std::vector<Byte> span(static_cast<std::size_t>(n) * 4);
  for (int y = y0; y < y1; ++y) {
    const int sy = 2 * (y - oy);
    shrink2Row(span.data(), src.row(sy) + static_cast<std::size_t>(x0 - ox) * 8,
               src.row(sy + 1) + static_cast<std::size_t>(x0 - ox) * 8, n);
    if (k < 65536) scaleBytes(span.data(), span.data(), span.size(), k);
    blendSpan(dst.row(y) + static_cast<std::size_t>(x0) * 4, span.data(), n);
  }
}

// Four channels of one pixel as floats, in one SIMD register.
using F4 = float __attribute__((vector_size(16)));

inline F4 pixelF4(const Byte* p) {
#if defined(__SSE2__)
  // Widening in registers; the generic conversion goes through scalars.
  int packed;
  std::memcpy(&packed, p, 4);
  const __m128i zero = _mm_setzero_si128();
  const __m128i words = _mm_unpacklo_epi8(_mm_cvtsi32_si128(packed), zero);
  return reinterpret_cast<F4>(_mm_cvtepi32_ps(_mm_unpacklo_epi16(words, zero)));
#else
  using Bytes4 = std::uint8_t __attribute__((vector_size(4)));
  Bytes4 b;
  std::memcpy(&b, p, 4);
  return __builtin_convertvector(b, F4);
#endif
}
inline F4 loadF4(const float* p) {
  F4 v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
inline void storeF4(float* p, F4 v) { std::memcpy(p, &v, sizeof v); }

// Rounds one pixel's non-negative channels to bytes, saturating at 255.
inline void storePixel(Byte* p, F4 v) {
  v += 0.5f;
#if defined(__SSE2__)
  const __m128i words = _mm_packs_epi32(_mm_cvttps_epi32(reinterpret_cast<__m128>(v)), _mm_setzero_si128());
  const int packed = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
  std::memcpy(p, &packed, 4);
#else
  for (int c = 0; c < 4; ++c) p[c] = static_cast<Byte>(std::min(v[c], 255.0f));
#endif
}

// Rounds non-negative floats to bytes, saturating at 255.
KERNEL void floatsToBytes(Byte* __restrict out, const float* __restrict in, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<Byte>(static_cast<int>(std::min(in[i] + 0.5f, 255.0f)));
}

// Resampling along one axis when the picture is not turned: for every
// destination pixel, the source pixels it reads and their weights, the
// weights already scaled by how much of the pixel the placed picture covers.
struct AxisTaps {
  int begin = 0;  // destination pixels [begin, end) have some coverage
  int end = 0;
  int sourceLow = 0;  // source pixels read: [sourceLow, sourceHigh)
  int sourceHigh = 0;
  int maxTaps = 0;
  std::vector<int> first;   // first source pixel, per destination pixel − begin
  std::vector<int> offset;  // into weights; one more entry than pixels
  std::vector<float> weights;
};

// The source coordinate of destination pixel centre x is origin + step × (x + 0.5).
// Enlarging samples bilinearly; shrinking averages the source area under the
// destination pixel (which equals bilinear at step 1, so the two meet smoothly).
// Reads past the source's edges repeat its edge pixels. `gain` scales every
// weight. Only destination pixels [low, high) are considered.
AxisTaps axisTaps(double step, double origin, int sourceSize, int low, int high, bool extend, double gain) {
  AxisTaps taps;
  const double footprint = std::abs(step);
  const auto coverAt = [&](int x) {
    if (extend) return 1.0;
    const double s = origin + step * (x + 0.5), half = footprint / 2;
    return std::max(std::min(half, sourceSize - s) + std::min(half, s), 0.0) / footprint;
  };
  int begin = low, end = high;
  while (begin < end && coverAt(begin) <= 1e-6) ++begin;
  while (end > begin && coverAt(end - 1) <= 1e-6) --end;
  taps.begin = begin;
  taps.end = end;
  taps.sourceLow = sourceSize;
  taps.sourceHigh = 0;
  taps.offset.push_back(0);
  double scale = 1;
  const auto add = [&](int index, double weight) {
    if (taps.weights.size() == static_cast<std::size_t>(taps.offset.back())) taps.first.push_back(index);
    taps.weights.push_back(static_cast<float>(weight * scale));
    taps.sourceLow = std::min(taps.sourceLow, index);
    taps.sourceHigh = std::max(taps.sourceHigh, index + 1);
  };
  for (int x = begin; x < end; ++x) {
    const double s = origin + step * (x + 0.5);
    scale = coverAt(x) * gain;
    if (footprint <= 1) {
      // Clamped first so that the integer conversion stays in range far outside.
      const double t = std::clamp(s - 0.5, -1.0, static_cast<double>(sourceSize));
      const double j = std::floor(t);
      const double f = t - j;
      const int a = std::clamp(static_cast<int>(j), 0, sourceSize - 1);
      const int b = std::clamp(static_cast<int>(j) + 1, 0, sourceSize - 1);
      if (a == b || f < 1e-6) {
        add(a, 1);
      } else if (f > 1 - 1e-6) {
        add(b, 1);
      } else {
        add(a, 1 - f);
        add(b, f);
      }
    } else {
      const double lo = std::max(s - footprint / 2, 0.0);
      const double hi = std::min(s + footprint / 2, static_cast<double>(sourceSize));
      if (hi - lo <= 1e-9) {
        add(static_cast<int>(std::floor(std::clamp(s, 0.0, sourceSize - 1.0))), 1);
      } else {
        for (int j = static_cast<int>(std::floor(lo)); j < hi; ++j) {
          const double part = overlap(lo, hi, j, j + 1.0);
          if (part > 1e-9) add(j, part / (hi - lo));
        }
      }
    }
    taps.offset.push_back(static_cast<int>(taps.weights.size()));
    taps.maxTaps = std::max(taps.maxTaps, taps.offset.back() - taps.offset[taps.offset.size() - 2]);
  }
  return taps;
}

// line = Σ weight × row over `count` bytes of each of `taps` source rows.
KERNEL void columnPass(float* __restrict line, const Byte* const* rows, const float* weights, int taps,
                       std::size_t count) {
  const Byte* s0 = rows[0];
  const float w0 = weights[0];
  if (taps == 2) {
    const Byte* s1 = rows[1];
    const float w1 = weights[1];
    for (std::size_t i = 0; i < count; ++i) line[i] = w0 * s0[i] + w1 * s1[i];
    return;
  }
  for (std::size_t i = 0; i < count; ++i) line[i] = w0 * s0[i];
  for (int t = 1; t < taps; ++t) {
    const Byte* s = rows[t];
    const float w = weights[t];
    for (std::size_t i = 0; i < count; ++i) line[i] += w * s[i];
  }
}

// Up to N taps per destination pixel, padded with zero weights: `at` is the
// float offset of the first, the others follow it.
template <int N>
void rowPassFixed(Byte* __restrict out, const float* __restrict line, const int* at, const float* weights, int n) {
  for (int i = 0; i < n; ++i) {
    const float* p = line + at[i];
    const float* w = weights + static_cast<std::ptrdiff_t>(N) * i;
    F4 sum = loadF4(p) * w[0];
    for (int t = 1; t < N; ++t) sum += loadF4(p + 4 * t) * w[t];
    storePixel(out + 4 * i, sum);
  }
}

void rowPass(Byte* __restrict out, const float* __restrict line, const AxisTaps& cols) {
  const int n = cols.end - cols.begin;
  for (int i = 0; i < n; ++i) {
    const float* p = line + static_cast<std::size_t>(cols.first[static_cast<std::size_t>(i)] - cols.sourceLow) * 4;
    F4 sum{};
    for (int t = cols.offset[static_cast<std::size_t>(i)]; t < cols.offset[static_cast<std::size_t>(i) + 1]; ++t, p += 4)
      sum += loadF4(p) * cols.weights[static_cast<std::size_t>(t)];
    storePixel(out + 4 * i, sum);
  }
}

// Not turned (scale, mirror, any offset): separable resampling, a column pass
// into a float row, then the row pass.
void drawAxisAligned(Picture& dst, const Picture& src, const Affine& m, double opacity, bool extend, Area area) {
  const AxisTaps cols = axisTaps(1 / m.a, -m.tx / m.a, src.width, area.x0, area.x1, extend, 1);
  const AxisTaps rows = axisTaps(1 / m.d, -m.ty / m.d, src.height, area.y0, area.y1, extend, opacity);
  if (cols.begin >= cols.end || rows.begin >= rows.end) return;
  const int n = cols.end - cols.begin;
  const int readWidth = cols.sourceHigh - cols.sourceLow;
  // Flat tables for the common cases of at most four taps per pixel.
  const int fixedTaps = cols.maxTaps <= 2 ? 2 : cols.maxTaps <= 4 ? 4 : 0;
  std::vector<int> at;
  std::vector<float> padded;
  if (fixedTaps > 0) {
    for (int i = 0; i < n; ++i) {
      const auto o = static_cast<std::size_t>(i);
      at.push_back((cols.first[o] - cols.sourceLow) * 4);
      for (int t = 0; t < fixedTaps; ++t) {
        const int tap = cols.offset[o] + t;
        padded.push_back(tap < cols.offset[o + 1] ? cols.weights[static_cast<std::size_t>(tap)] : 0.0f);
      }
    }
  }
  // Spare pixels so that padded taps may read past the last (with weight 0).
  std::vector<float> line(static_cast<std::size_t>(readWidth + 4) * 4, 0.0f);
  std::vector<Byte> span(static_cast<std::size_t>(n) * 4);
  std::vector<const Byte*> sourceRows(static_cast<std::size_t>(rows.maxTaps));
  for (int y = rows.begin; y < rows.end; ++y) {
    const auto r = static_cast<std::size_t>(y - rows.begin);
    const int count = rows.offset[r + 1] - rows.offset[r];
    for (int t = 0; t < count; ++t)
      sourceRows[static_cast<std::size_t>(t)] =
          src.row(rows.first[r] + t) + static_cast<std::size_t>(cols.sourceLow) * 4;
    columnPass(line.data(), sourceRows.data(), rows.weights.data() + rows.offset[r], count,
               static_cast<std::size_t>(readWidth) * 4);
    if (fixedTaps == 2)
      rowPassFixed<2>(span.data(), line.data(), at.data(), padded.data(), n);
    else if (fixedTaps == 4)
      rowPassFixed<4>(span.data(), line.data(), at.data(), padded.data(), n);
    else
      rowPass(span.data(), line.data(), cols);
    blendSpan(dst.row(y) + static_cast<std::size_t>(cols.begin) * 4, span.data(), n);
  }
}

// Narrows [lo, hi] (in units of x + 0.5) to where base + slope × (x + 0.5) lies in (low, high).
void narrowTo(double slope, double base, double low, double high, double& lo, double& hi) {
  if (std::abs(slope) < 1e-12) {
    if (base <= low || base >= high) hi = lo - 1;
    return;
  }
  const double t1 = (low - base) / slope, t2 = (high - base) / slope;
  lo = std::max(lo, std::min(t1, t2));
  hi = std::min(hi, std::max(t1, t2));
}

// The source as the turned path reads it: a (possibly halved) level, the
// extent of the original picture in level pixels, and half a destination
// pixel's footprint on each source axis (for edge coverage).
struct Level {
  const Byte* pixels = nullptr;
  std::size_t stride = 0;
  int width = 0;
  int height = 0;
  float extentU = 0;
  float extentV = 0;
  float halfU = 0;
  float halfV = 0;
  bool extend = false;
};

// Bilinear samples along one destination row, at source points
// (u0 + du·i, v0 + dv·i), times coverage and alpha.
KERNEL void sampleRow(Byte* __restrict out, int n, const Level& lv, double u0, double du, double v0, double dv,
                      float alpha) {
  const double maxU = lv.width, maxV = lv.height;
  for (int i = 0; i < n; ++i) {
    const double uu = u0 + du * i, vv = v0 + dv * i;
    const auto u = static_cast<float>(uu), v = static_cast<float>(vv);
    float cover = alpha;
    if (!lv.extend) {
      // The footprint's overlap with the extent, split at its centre so that
      // an inside pixel comes out exactly 1.
      const float inU = std::max(std::min(lv.halfU, lv.extentU - u) + std::min(lv.halfU, u), 0.0f);
      const float inV = std::max(std::min(lv.halfV, lv.extentV - v) + std::min(lv.halfV, v), 0.0f);
      cover *= inU / (2 * lv.halfU) * (inV / (2 * lv.halfV));
    }
    // Clamped first so that the integer conversion stays in range far outside.
    const double tu = std::clamp(uu - 0.5, -1.0, maxU), tv = std::clamp(vv - 0.5, -1.0, maxV);
    int ju = static_cast<int>(tu), jv = static_cast<int>(tv);
    ju -= tu < ju;
    jv -= tv < jv;
    const auto wu = static_cast<float>(tu - ju), wv = static_cast<float>(tv - jv);
    const std::size_t x0 = static_cast<std::size_t>(std::clamp(ju, 0, lv.width - 1)) * 4;
    const std::size_t x1 = static_cast<std::size_t>(std::clamp(ju + 1, 0, lv.width - 1)) * 4;
    const Byte* r0 = lv.pixels + lv.stride * static_cast<std::size_t>(std::clamp(jv, 0, lv.height - 1));
    const Byte* r1 = lv.pixels + lv.stride * static_cast<std::size_t>(std::clamp(jv + 1, 0, lv.height - 1));
    const F4 p00 = pixelF4(r0 + x0), p01 = pixelF4(r0 + x1), p10 = pixelF4(r1 + x0), p11 = pixelF4(r1 + x1);
    const F4 top = p00 + (p01 - p00) * wu, bottom = p10 + (p11 - p10) * wu;
    storePixel(out + 4 * i, (top + (bottom - top) * wv) * cover);
  }
}

// sampleRow for points well inside the source: no coverage, no clamping.
KERNEL void sampleRowInside(Byte* __restrict out, int n, const Level& lv, double u0, double du, double v0, double dv,
                            float alpha) {
  for (int i = 0; i < n; ++i) {
    const double tu = u0 + du * i - 0.5, tv = v0 + dv * i - 0.5;
    const int ju = static_cast<int>(tu), jv = static_cast<int>(tv);
    const auto wu = static_cast<float>(tu - ju), wv = static_cast<float>(tv - jv);
    const Byte* r0 = lv.pixels + lv.stride * static_cast<std::size_t>(jv) + static_cast<std::size_t>(ju) * 4;
    const Byte* r1 = r0 + lv.stride;
    const F4 p00 = pixelF4(r0), p01 = pixelF4(r0 + 4), p10 = pixelF4(r1), p11 = pixelF4(r1 + 4);
    const F4 top = p00 + (p01 - p00) * wu, bottom = p10 + (p11 - p10) * wu;
    storePixel(out + 4 * i, (top + (bottom - top) * wv) * alpha);
  }
}

// Turned or sheared: the source is first halved until each destination pixel
// spans fewer than two of its pixels (so bilinear reads do not skip any), then
// sampled bilinearly at every destination pixel.
void drawGeneral(Picture& dst, const Picture& src, const Affine& m, double opacity, bool extend, Area area) {
  const double perSourceX = std::hypot(m.a, m.b), perSourceY = std::hypot(m.c, m.d);
  Picture halvedPicture;
  const Picture* from = &src;
  double fx = 1, fy = 1;
  for (;;) {
    const bool alongX = from->width > 1 && perSourceX * fx <= 0.5 + 1e-9;
    const bool alongY = from->height > 1 && perSourceY * fy <= 0.5 + 1e-9;
    if (!alongX && !alongY) break;
    halvedPicture = halved(*from, alongX, alongY);
    from = &halvedPicture;
    fx *= alongX ? 2 : 1;
    fy *= alongY ? 2 : 1;
  }
  const std::optional<Affine> inverse = compose(m, scaling(fx, fy)).inverse();
  if (!inverse) return;
  const Affine inv = *inverse;
  Level lv;
  lv.pixels = from->pixels.get();
  lv.stride = from->stride();
  lv.width = from->width;
  lv.height = from->height;
  lv.extentU = static_cast<float>(src.width / fx);
  lv.extentV = static_cast<float>(src.height / fy);
  lv.halfU = static_cast<float>(0.5 * (std::abs(inv.a) + std::abs(inv.c)));
  lv.halfV = static_cast<float>(0.5 * (std::abs(inv.b) + std::abs(inv.d)));
  lv.extend = extend;
  std::vector<Byte> span(dst.stride());
  for (int y = area.y0; y < area.y1; ++y) {
    const double cy = y + 0.5;
    const double baseU = inv.c * cy + inv.tx, baseV = inv.d * cy + inv.ty;
    double lo = area.x0, hi = area.x1;
    if (!extend) {
      narrowTo(inv.a, baseU, -lv.halfU, lv.extentU + lv.halfU, lo, hi);
      narrowTo(inv.b, baseV, -lv.halfV, lv.extentV + lv.halfV, lo, hi);
    }
    const int x0 = std::max(area.x0, static_cast<int>(std::floor(lo - 0.5)));
    const int x1 = std::min(area.x1, static_cast<int>(std::ceil(hi - 0.5)) + 1);
    if (x0 >= x1) continue;
    // Inside: fully covered, and all four bilinear neighbours exist.
    double inLo = x0 + 0.5, inHi = x1 - 0.5;
    constexpr double margin = 1e-3;
    narrowTo(inv.a, baseU, std::max<double>(extend ? 0 : lv.halfU, 0.5) + margin,
             std::min<double>(extend ? lv.width : lv.extentU - lv.halfU, lv.width - 0.5) - margin, inLo, inHi);
    narrowTo(inv.b, baseV, std::max<double>(extend ? 0 : lv.halfV, 0.5) + margin,
             std::min<double>(extend ? lv.height : lv.extentV - lv.halfV, lv.height - 0.5) - margin, inLo, inHi);
    const int i0 = std::clamp(static_cast<int>(std::ceil(inLo - 0.5)), x0, x1);
    const int i1 = std::clamp(static_cast<int>(std::floor(inHi - 0.5)) + 1, i0, x1);
    const auto sample = [&](int from, int to, bool inside) {
      if (from >= to) return;
      const double cx = from + 0.5;
      Byte* out = span.data() + static_cast<std::size_t>(from - x0) * 4;
      (inside ? sampleRowInside : sampleRow)(out, to - from, lv, inv.a * cx + baseU, inv.a, inv.b * cx + baseV,
                                             inv.b, static_cast<float>(opacity));
    };
    sample(x0, i0, false);
    sample(i0, i1, true);
    sample(i1, x1, false);
    blendSpan(dst.row(y) + static_cast<std::size_t>(x0) * 4, span.data(), x1 - x0);
  }
}

void draw(Picture& dst, const Picture& srcIn, const Affine& m, double opacity, bool extend, PixelRect within) {
  const Area area{std::max(within.x, 0), std::max(within.y, 0), std::min(within.x + within.width, dst.width),
                  std::min(within.y + within.height, dst.height)};
  const bool finite = std::isfinite(m.a) && std::isfinite(m.b) && std::isfinite(m.c) && std::isfinite(m.d) &&
                      std::isfinite(m.tx) && std::isfinite(m.ty);
  if (area.x0 >= area.x1 || area.y0 >= area.y1 || srcIn.empty() || !(opacity > 0) || !finite) return;
  if (!extend) {
    // Nothing to do when the placed picture misses the area (this also keeps
    // far-off offsets from overflowing whole-pixel arithmetic below).
    double left = INFINITY, right = -INFINITY, top = INFINITY, bottom = -INFINITY;
    for (const Point corner : {Point{0, 0}, Point{static_cast<double>(srcIn.width), 0},
                               Point{0, static_cast<double>(srcIn.height)},
                               Point{static_cast<double>(srcIn.width), static_cast<double>(srcIn.height)}}) {
      const Point p = m.apply(corner);
      left = std::min(left, p.x);
      right = std::max(right, p.x);
      top = std::min(top, p.y);
      bottom = std::max(bottom, p.y);
    }
    if (right <= area.x0 || left >= area.x1 || bottom <= area.y0 || top >= area.y1) return;
  }
  opacity = std::min(opacity, 1.0);
  Picture swapped;
  const Picture* src = &srcIn;
  if (srcIn.order != dst.order) {
    swapped = reordered(srcIn, dst.order);
    src = &swapped;
  }
  if (!extend && m.isIntegerTranslation()) {
    blitTranslated(dst, *src, static_cast<int>(std::lround(m.tx)), static_cast<int>(std::lround(m.ty)), opacity, area);
    return;
  }
  if (!extend && src->width % 2 == 0 && src->height % 2 == 0) {
    const Affine fromHalf = compose(m, scaling(2, 2));
    if (fromHalf.isIntegerTranslation()) {
      blitShrunk2(dst, *src, static_cast<int>(std::lround(fromHalf.tx)), static_cast<int>(std::lround(fromHalf.ty)),
                  opacity, area);
      return;
    }
  }
  if (!m.inverse()) return;
  if (m.isAxisAligned())
    drawAxisAligned(dst, *src, m, opacity, extend, area);
  else
    drawGeneral(dst, *src, m, opacity, extend, area);
}

// Box-blur widths whose three successive passes approximate a Gaussian of
// the given sigma (the widths differ by at most 2 so the variances add up).
std::array<int, 3> boxRadii(double sigma) {
  constexpr int passes = 3;
  const double ideal = std::sqrt(12 * sigma * sigma / passes + 1);
  int lower = static_cast<int>(std::floor(ideal));
  if (lower % 2 == 0) --lower;
  const int upper = lower + 2;
  const double m = (12 * sigma * sigma - passes * lower * lower - 4.0 * passes * lower - 3.0 * passes) / (-4.0 * lower - 4);
  const int lowerCount = static_cast<int>(std::lround(m));
  std::array<int, 3> radii{};
  for (int i = 0; i < passes; ++i) radii[static_cast<std::size_t>(i)] = ((i < lowerCount ? lower : upper) - 1) / 2;
  return radii;
}

// One box pass along a row of w float pixels, edges clamped.
void boxAlongRow(const float* in, float* out, int w, int radius) {
  const float scale = 1.0f / static_cast<float>(2 * radius + 1);
  const auto px = [&](int x) { return loadF4(in + static_cast<std::size_t>(std::clamp(x, 0, w - 1)) * 4); };
  F4 sum{};
  for (int k = -radius; k <= radius; ++k) sum += px(k);
  for (int x = 0; x < w; ++x) {
    storeF4(out + static_cast<std::size_t>(x) * 4, sum * scale);
    sum += px(x + radius + 1) - px(x - radius);
  }
}

// One box pass down the columns of a w × h float plane, edges clamped; a
// whole row at a time so that memory is read in order.
void boxAlongColumns(const float* in, float* out, int w, int h, int radius) {
  const std::size_t n = static_cast<std::size_t>(w) * 4;
  const float scale = 1.0f / static_cast<float>(2 * radius + 1);
  const auto row = [&](int y) { return in + static_cast<std::size_t>(std::clamp(y, 0, h - 1)) * n; };
  std::vector<float> sum(n, 0.0f);
  for (int k = -radius; k <= radius; ++k) {
    const float* r = row(k);
    for (std::size_t i = 0; i < n; ++i) sum[i] += r[i];
  }
  for (int y = 0; y < h; ++y) {
    float* o = out + static_cast<std::size_t>(y) * n;
    const float *enter = row(y + radius + 1), *leave = row(y - radius);
    for (std::size_t i = 0; i < n; ++i) {
      o[i] = sum[i] * scale;
      sum[i] += enter[i] - leave[i];
    }
  }
}

}  // namespace

Picture blankPicture(int width, int height, PixelOrder order) {
  Picture p(std::max(width, 0), std::max(height, 0), order);
  std::memset(p.pixels.get(), 0, p.bytes());
  return p;
}

void fill(Picture& picture, RGBA colour) {
  if (picture.empty()) return;
  const double a = std::clamp(colour.a, 0.0, 1.0);
  const auto premul = [&](double v) { return static_cast<Byte>(std::lround(std::clamp(v, 0.0, 1.0) * a * 255)); };
  const auto slots = rgbSlots(picture.order);
  std::array<Byte, 4> px{};
  px[static_cast<std::size_t>(slots[0])] = premul(colour.r);
  px[static_cast<std::size_t>(slots[1])] = premul(colour.g);
  px[static_cast<std::size_t>(slots[2])] = premul(colour.b);
  px[3] = static_cast<Byte>(std::lround(a * 255));
  Byte* first = picture.row(0);
  for (std::size_t i = 0; i < picture.stride(); i += 4) std::memcpy(first + i, px.data(), 4);
  for (int y = 1; y < picture.height; ++y) std::memcpy(picture.row(y), first, picture.stride());
}

Picture cropped(const Picture& picture, PixelRect rect) {
  const int x0 = std::clamp(rect.x, 0, picture.width), y0 = std::clamp(rect.y, 0, picture.height);
  const int x1 = std::clamp(rect.x + std::max(rect.width, 0), x0, picture.width);
  const int y1 = std::clamp(rect.y + std::max(rect.height, 0), y0, picture.height);
  Picture out(x1 - x0, y1 - y0, picture.order);
  for (int y = y0; y < y1; ++y)
    std::memcpy(out.row(y - y0), picture.row(y) + static_cast<std::size_t>(x0) * 4, out.stride());
  return out;
}

void drawOver(Picture& dst, const Picture& src, const Affine& srcToDst, double opacity) {
  draw(dst, src, srcToDst, opacity, false, {0, 0, dst.width, dst.height});
}

void drawExtended(Picture& dst, const Picture& src, const Affine& srcToDst, std::optional<PixelRect> within) {
  draw(dst, src, srcToDst, 1, true, within.value_or(PixelRect{0, 0, dst.width, dst.height}));
}

void sourceOver(Picture& dst, const Picture& src) { drawOver(dst, src, Affine{}, 1); }

void sourceOver(Picture& dst, const Picture& srcIn, const Box& within) {
  Picture swapped;
  const Picture* src = &srcIn;
  if (srcIn.order != dst.order) {
    swapped = reordered(srcIn, dst.order);
    src = &swapped;
  }
  const int w = std::min(dst.width, src->width), h = std::min(dst.height, src->height);
  const int x0 = std::max(0, static_cast<int>(std::floor(within.x0)));
  const int x1 = std::min(w, static_cast<int>(std::ceil(within.x1)));
  const int y0 = std::max(0, static_cast<int>(std::floor(within.y0)));
  const int y1 = std::min(h, static_cast<int>(std::ceil(within.y1)));
  if (x0 >= x1 || y0 >= y1) return;
  const int n = x1 - x0;
  const double firstCover = overlap(x0, x0 + 1.0, within.x0, within.x1);
  const double lastCover = overlap(x1 - 1.0, x1, within.x0, within.x1);
  std::vector<Byte> span(static_cast<std::size_t>(n) * 4);
  for (int y = y0; y < y1; ++y) {
    const Byte* s = src->row(y) + static_cast<std::size_t>(x0) * 4;
    const double rowCover = overlap(y, y + 1.0, within.y0, within.y1);
    if (rowCover < 1) {
      scaleBytes(span.data(), s, span.size(), fixed16(rowCover));
    } else {
      std::memcpy(span.data(), s, span.size());
    }
    if (firstCover < 1) scaleBytes(span.data(), span.data(), 4, fixed16(firstCover));
    if (lastCover < 1) scaleBytes(span.data() + span.size() - 4, span.data() + span.size() - 4, 4, fixed16(lastCover));
    blendSpan(dst.row(y) + static_cast<std::size_t>(x0) * 4, span.data(), n);
  }
}

void scaleIntensity(Picture& picture, double w) {
  const auto k = static_cast<std::uint32_t>(std::lround(std::clamp(w, 0.0, 255.0) * 65536));
  scaleBytesSaturating(picture.pixels.get(), picture.bytes(), k);
}

void mixInto(Picture& dst, double dstWeight, const Picture& srcIn, double srcWeight) {
  Picture swapped;
  const Picture* src = &srcIn;
  if (srcIn.order != dst.order) {
    swapped = reordered(srcIn, dst.order);
    src = &swapped;
  }
  const auto kd = static_cast<std::uint32_t>(std::lround(std::clamp(dstWeight, 0.0, 64.0) * 65536));
  const auto ks = static_cast<std::uint32_t>(std::lround(std::clamp(srcWeight, 0.0, 64.0) * 65536));
  const int w = std::min(dst.width, src->width), h = std::min(dst.height, src->height);
  if (w <= 0 || h <= 0) return;
  for (int y = 0; y < h; ++y) mixBytes(dst.row(y), src->row(y), static_cast<std::size_t>(w) * 4, kd, ks);
}

void addInto(Picture& dst, const Picture& src, double w) { mixInto(dst, 1, src, w); }

void mixColor(Picture& dst, double dstWeight, RGBA colour, double colourWeight) {
  const double a = std::clamp(colour.a, 0.0, 1.0);
  const double wc = std::clamp(colourWeight, 0.0, 64.0);
  const auto slots = rgbSlots(dst.order);
  std::array<std::uint32_t, 4> add{};
  const auto term = [&](double v) { return static_cast<std::uint32_t>(std::lround(v * 255 * wc * 65536)); };
  add[static_cast<std::size_t>(slots[0])] = term(std::clamp(colour.r, 0.0, 1.0) * a);
  add[static_cast<std::size_t>(slots[1])] = term(std::clamp(colour.g, 0.0, 1.0) * a);
  add[static_cast<std::size_t>(slots[2])] = term(std::clamp(colour.b, 0.0, 1.0) * a);
  add[3] = term(a);
  const auto kd = static_cast<std::uint32_t>(std::lround(std::clamp(dstWeight, 0.0, 64.0) * 65536));
  for (int y = 0; y < dst.height; ++y) mixConstant(dst.row(y), dst.width, kd, add);
}

void gaussianBlur(Picture& picture, double sigma) {
  if (picture.empty() || !(sigma > 0)) return;
  const std::array<int, 3> radii = boxRadii(sigma);
  const int w = picture.width, h = picture.height;
  // Rows first, then strips of columns, each through small float buffers and
  // back to bytes: no picture-size float planes (a 1080p frame would need 33 MB).
  std::vector<float> a(picture.stride()), b(picture.stride());
  for (int y = 0; y < h; ++y) {
    const Byte* row = picture.row(y);
    for (std::size_t i = 0; i < a.size(); ++i) a[i] = row[i];
    for (const int r : radii) {
      if (r == 0) continue;
      boxAlongRow(a.data(), b.data(), w, r);
      a.swap(b);
    }
    floatsToBytes(picture.row(y), a.data(), a.size());
  }
  constexpr int strip = 64;
  a.assign(static_cast<std::size_t>(strip) * 4 * static_cast<std::size_t>(h), 0.0f);
  b.assign(a.size(), 0.0f);
  for (int x0 = 0; x0 < w; x0 += strip) {
    const int sw = std::min(strip, w - x0);
    const std::size_t n = static_cast<std::size_t>(sw) * 4;
    for (int y = 0; y < h; ++y) {
      const Byte* from = picture.row(y) + static_cast<std::size_t>(x0) * 4;
      float* to = a.data() + static_cast<std::size_t>(y) * n;
      for (std::size_t i = 0; i < n; ++i) to[i] = from[i];
    }
    for (const int r : radii) {
      if (r == 0) continue;
      boxAlongColumns(a.data(), b.data(), sw, h, r);
      a.swap(b);
    }
    for (int y = 0; y < h; ++y)
      floatsToBytes(picture.row(y) + static_cast<std::size_t>(x0) * 4, a.data() + static_cast<std::size_t>(y) * n, n);
  }
}

}  // namespace brevelan
