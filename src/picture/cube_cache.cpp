#include "picture/cube_cache.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "picture/lut_library.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace brevelan {

namespace {

// Cells hold value × 255 × 64: 14 bits, so differences doubled still fit the
// 16-bit lanes of a signed high multiply, and (cell + 32) >> 6 is the 8-bit value.
constexpr int kOne = 255 * 64;
constexpr int kLast = kCubeDimension - 1;
// One extra cell on each axis repeats the last lattice point, so the top
// value (fraction 0 at index 32) may read its "next" neighbour safely.
constexpr int kSide = kCubeDimension + 1;
constexpr int kGreenStep = kSide * 4;
constexpr int kBlueStep = kSide * kSide * 4;
// Grades kept prepared; a slider drag bakes many, a timeline shows a few.
constexpr int kCacheEntries = 16;

// Where an 8-bit value falls on the lattice: cell offsets per axis (in
// int16 units) and the fraction towards the next lattice point in Q15.
struct Tables {
  std::array<std::int32_t, 256> red, green, blue;
  alignas(16) std::array<std::array<std::int16_t, 8>, 256> fraction;
  // Straight colour of a premultiplied value c under alpha a, at a × 256 + c.
  std::array<std::uint8_t, 256 * 256> unpremultiplied;

  Tables() {
    for (int v = 0; v < 256; ++v) {
      const int scaled = v * kLast;  // position × 255
      const int index = scaled / 255;
      const int f = static_cast<int>(std::lround((scaled - index * 255) * 32768.0 / 255));
      red[v] = index * 4;
      green[v] = index * kGreenStep;
      blue[v] = index * kBlueStep;
      fraction[v].fill(static_cast<std::int16_t>(f));
    }
    for (int a = 0; a < 256; ++a)
      for (int c = 0; c < 256; ++c)
        unpremultiplied[a * 256 + c] =
            a == 0 ? 0 : static_cast<std::uint8_t>(std::min(255, (c * 255 + a / 2) / a));
  }
};

const Tables& tables() {
  static const Tables t;
  return t;
}

// round(x × a / 255) for x, a in 0…255, without a division.
inline int premultiplied(int x, int a) {
  const int t = x * a + 128;
  return (t + (t >> 8)) >> 8;
}

inline int lerpScalar(int a, int b, int f) { return a + (((b - a) * 2 * f) >> 16); }

// Scalar trilinear look-up with exactly the arithmetic of the vector one.
// Returns the graded colour packed as bytes (r, g, b, 0).
struct PortableLookup {
  const std::int16_t* cells;
  const Tables& t;

  std::uint32_t operator()(int r, int g, int b) const {
    const std::int16_t* p = cells + t.red[r] + t.green[g] + t.blue[b];
    const int fr = t.fraction[r][0], fg = t.fraction[g][0], fb = t.fraction[b][0];
    std::uint32_t out = 0;
    for (int c = 0; c < 3; ++c) {
      int v[2];
      for (int side = 0; side < 2; ++side) {
        const std::int16_t* q = p + side * 4 + c;
        const int c0 = lerpScalar(q[0], q[kGreenStep], fg);
        const int c1 = lerpScalar(q[kBlueStep], q[kGreenStep + kBlueStep], fg);
        v[side] = lerpScalar(c0, c1, fb);
      }
      const int x = std::clamp((lerpScalar(v[0], v[1], fr) + 32) >> 6, 0, 255);
      out |= static_cast<std::uint32_t>(x) << (8 * c);
    }
    return out;
  }
};

#if defined(__SSE2__)
inline __m128i lerpVector(__m128i a, __m128i b, __m128i f) {
  return _mm_add_epi16(a, _mm_mulhi_epi16(_mm_slli_epi16(_mm_sub_epi16(b, a), 1), f));
}

// One unaligned load brings a lattice point and its red neighbour, so the
// eight corners take four loads; green and blue are blended on both at once,
// and red last, for two pixels together.
struct VectorLookup {
  const std::int16_t* cells;
  const Tables& t;

  __m128i fraction(int v) const { return _mm_load_si128(reinterpret_cast<const __m128i*>(t.fraction[v].data())); }

  // The colour at (r, g, b) and at its red neighbour cell, blended in green and blue.
  __m128i column(int r, int g, int b) const {
    const std::int16_t* p = cells + t.red[r] + t.green[g] + t.blue[b];
    const auto load = [](const std::int16_t* q) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(q)); };
    const __m128i fg = fraction(g);
    const __m128i c0 = lerpVector(load(p), load(p + kGreenStep), fg);
    const __m128i c1 = lerpVector(load(p + kBlueStep), load(p + kGreenStep + kBlueStep), fg);
    return lerpVector(c0, c1, fraction(b));
  }

  static __m128i toBytes(__m128i x) {
    x = _mm_srai_epi16(_mm_add_epi16(x, _mm_set1_epi16(32)), 6);
    return _mm_packus_epi16(x, x);
  }

  std::uint32_t operator()(int r, int g, int b) const {
    const __m128i c = column(r, g, b);
    const __m128i x = lerpVector(c, _mm_unpackhi_epi64(c, c), fraction(r));
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(toBytes(x))) & 0xFFFFFFu;
  }

  // Two pixels: packed (r, g, b, 0) of the first in the low half.
  std::uint64_t pair(int r0, int g0, int b0, int r1, int g1, int b1) const {
    const __m128i c0 = column(r0, g0, b0), c1 = column(r1, g1, b1);
    const __m128i fr = _mm_unpacklo_epi64(fraction(r0), fraction(r1));
    const __m128i x = lerpVector(_mm_unpacklo_epi64(c0, c1), _mm_unpackhi_epi64(c0, c1), fr);
    return static_cast<std::uint64_t>(_mm_cvtsi128_si64(toBytes(x))) & 0x00FFFFFF00FFFFFFull;
  }
};
#endif

// Walks the pixels of `from`, writing to `to` (which may be `from`); lookup
// maps straight (r, g, b) to packed (r, g, b, 0), and may offer pair() to do
// two opaque pixels at once.
template <bool bgra, class Lookup>
void gradePixels(const Picture& from, Picture& to, const Lookup& lookup) {
  const Tables& t = tables();
  constexpr int rAt = bgra ? 2 : 0, bAt = bgra ? 0 : 2;
  const auto place = [](auto rgb) -> decltype(rgb) {
    using U = decltype(rgb);
    if constexpr (bgra) {
      constexpr U lowByte = sizeof(U) == 8 ? 0x000000FF000000FFull : 0xFFu;
      return ((rgb & lowByte) << 16) | (rgb & (lowByte << 8)) | ((rgb >> 16) & lowByte);
    }
    return rgb;
  };
  // Graded straight colour back to premultiplied, under alpha a.
  const auto withAlpha = [](std::uint32_t rgb, int a) {
    if (a == 255) return rgb | 0xFF000000u;
    return static_cast<std::uint32_t>(premultiplied(static_cast<int>(rgb & 0xFF), a)) |
           static_cast<std::uint32_t>(premultiplied(static_cast<int>((rgb >> 8) & 0xFF), a)) << 8 |
           static_cast<std::uint32_t>(premultiplied(static_cast<int>((rgb >> 16) & 0xFF), a)) << 16 |
           static_cast<std::uint32_t>(a) << 24;
  };
  const auto gradeOne = [&](const std::uint8_t* p, std::uint8_t* q) {
    const int a = p[3];
    if (a == 0) {  // premultiplied: nothing to colour
      std::memmove(q, p, 4);
      return;
    }
    const std::uint8_t* straight = t.unpremultiplied.data() + a * 256;  // row 255 changes nothing
    const std::uint32_t out = withAlpha(place(lookup(straight[p[rAt]], straight[p[1]], straight[p[bAt]])), a);
    std::memcpy(q, &out, 4);
  };

  const std::uint8_t* p = from.pixels.get();
  std::uint8_t* q = to.pixels.get();
  const std::size_t count = static_cast<std::size_t>(from.width) * static_cast<std::size_t>(from.height);
  // Runs of one colour (flat backgrounds, titles, letterboxing) reuse the
  // last result instead of looking up again.
  bool haveLast = false;
  if constexpr (requires { lookup.pair(0, 0, 0, 0, 0, 0); }) {
    constexpr std::uint64_t opaque = 0xFF000000FF000000ull;
    std::uint64_t lastIn = 0, lastOut = 0;
    std::size_t i = 0;
    for (; i + 2 <= count; i += 2, p += 8, q += 8) {
      std::uint64_t in;
      std::memcpy(&in, p, 8);
      if (haveLast && in == lastIn) {
        std::memcpy(q, &lastOut, 8);
        continue;
      }
      if ((in & opaque) == opaque) {
        const std::uint64_t out = place(lookup.pair(p[rAt], p[1], p[bAt], p[4 + rAt], p[5], p[4 + bAt])) | opaque;
        std::memcpy(q, &out, 8);
      } else if (p[3] != 0 && p[7] != 0) {
        const std::uint8_t* s0 = t.unpremultiplied.data() + p[3] * 256;
        const std::uint8_t* s1 = t.unpremultiplied.data() + p[7] * 256;
        const std::uint64_t rgb =
            place(lookup.pair(s0[p[rAt]], s0[p[1]], s0[p[bAt]], s1[p[4 + rAt]], s1[p[5]], s1[p[4 + bAt]]));
        const std::uint32_t out[2] = {withAlpha(static_cast<std::uint32_t>(rgb), p[3]),
                                      withAlpha(static_cast<std::uint32_t>(rgb >> 32), p[7])};
        std::memcpy(q, out, 8);
      } else {
        gradeOne(p, q);
        gradeOne(p + 4, q + 4);
      }
      lastIn = in;
      std::memcpy(&lastOut, q, 8);
      haveLast = true;
    }
    if (i < count) gradeOne(p, q);
  } else {
    std::uint32_t lastIn = 0, lastOut = 0;
    for (std::size_t i = 0; i < count; ++i, p += 4, q += 4) {
      std::uint32_t in;
      std::memcpy(&in, p, 4);
      if (haveLast && in == lastIn) {
        std::memcpy(q, &lastOut, 4);
        continue;
      }
      gradeOne(p, q);
      lastIn = in;
      std::memcpy(&lastOut, q, 4);
      haveLast = true;
    }
  }
}

template <class Lookup>
void gradePicture(const Picture& from, Picture& to, const Lookup& lookup) {
  if (from.empty() || !from.pixels || !to.pixels) return;
  if (from.order == PixelOrder::bgra)
    gradePixels<true>(from, to, lookup);
  else
    gradePixels<false>(from, to, lookup);
}

std::uint64_t hashOf(std::span<const float> data) {
  // FNV-1a over 64-bit words; collisions are settled by comparing the bytes.
  std::uint64_t h = 1469598103934665603ull;
  const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
  const std::size_t n = data.size_bytes();
  std::size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    std::uint64_t word;
    std::memcpy(&word, bytes + i, 8);
    h = (h ^ word) * 1099511628211ull;
    h ^= h >> 29;
  }
  for (; i < n; ++i) h = (h ^ bytes[i]) * 1099511628211ull;
  return h;
}

std::shared_ptr<const LUT> lutFor(const ColorGrade& grade) {
  if (!grade.enabled || !grade.lutPath || !(grade.lutAmount > 0)) return nullptr;
  return LUTLibrary::shared().lut(grade.lutPath);
}

// Drops the least recently used entry once the list is over its bound.
template <class Entry>
void trim(std::vector<Entry>& entries) {
  while (entries.size() > static_cast<std::size_t>(kCacheEntries)) {
    const auto oldest = std::min_element(entries.begin(), entries.end(),
                                         [](const Entry& a, const Entry& b) { return a.used < b.used; });
    entries.erase(oldest);
  }
}

}  // namespace

ColorCube::ColorCube(std::span<const float> data) : cells_(static_cast<std::size_t>(kSide) * kSide * kSide * 4, 0) {
  const auto value = [&](std::size_t at) -> std::int16_t {
    const float v = at < data.size() ? data[at] : 0.0f;
    if (!(v > 0)) return 0;  // NaN too
    return static_cast<std::int16_t>(std::lround(std::min(v, 1.0f) * kOne));
  };
  const auto lattice = [](int i) { return static_cast<std::size_t>(std::min(i, kLast)); };
  constexpr std::size_t n = kCubeDimension;
  for (int k = 0; k < kSide; ++k)
    for (int j = 0; j < kSide; ++j)
      for (int i = 0; i < kSide; ++i) {
        const std::size_t from = (lattice(i) + lattice(j) * n + lattice(k) * n * n) * 4;
        std::int16_t* to = cells_.data() + i * 4 + j * kGreenStep + k * kBlueStep;
        for (std::size_t c = 0; c < 3; ++c) to[c] = value(from + c);
      }
}

void ColorCube::applyPortable(Picture& picture) const {
  gradePicture(picture, picture, PortableLookup{cells_.data(), tables()});
}

void ColorCube::apply(const Picture& from, Picture& to) const {
  if (from.width != to.width || from.height != to.height || from.order != to.order) return;
#if defined(__SSE2__)
  gradePicture(from, to, VectorLookup{cells_.data(), tables()});
#else
  gradePicture(from, to, PortableLookup{cells_.data(), tables()});
#endif
}

CubeCache& CubeCache::shared() {
  static CubeCache cache;
  return cache;
}

std::shared_ptr<const ColorCube> CubeCache::findLocked(std::span<const float> data, std::uint64_t hash) {
  for (auto& entry : byBytes_)
    if (entry.hash == hash && std::equal(entry.data.begin(), entry.data.end(), data.begin(), data.end())) {
      entry.used = ++clock_;
      return entry.cube;
    }
  return nullptr;
}

std::shared_ptr<const ColorCube> CubeCache::findLocked(const ColorGrade& grade, const LUT* lut) {
  for (auto& entry : byGrade_)
    if (entry.lut.get() == lut && entry.grade == grade) {
      entry.used = ++clock_;
      return entry.cube;
    }
  return nullptr;
}

std::shared_ptr<const ColorCube> CubeCache::cube(std::span<const float> data) {
  if (data.size() != kCubeFloats) return nullptr;
  const std::uint64_t hash = hashOf(data);
  {
    std::lock_guard lock(mutex_);
    if (auto found = findLocked(data, hash)) return found;
  }
  // Prepared outside the lock; a rare duplicate preparation is cheaper than
  // holding every other caller up.
  auto made = std::make_shared<const ColorCube>(data);
  std::lock_guard lock(mutex_);
  if (auto found = findLocked(data, hash)) return found;
  byBytes_.push_back({hash, std::vector<float>(data.begin(), data.end()), made, ++clock_});
  trim(byBytes_);
  return made;
}

std::shared_ptr<const ColorCube> CubeCache::cube(const ColorGrade& grade) {
  auto lut = lutFor(grade);
  {
    std::lock_guard lock(mutex_);
    if (auto found = findLocked(grade, lut.get())) return found;
  }
  auto made = cube(cubeData(grade, lut.get()));
  std::lock_guard lock(mutex_);
  if (auto found = findLocked(grade, lut.get())) return found;
  byGrade_.push_back({grade, std::move(lut), made, ++clock_});
  trim(byGrade_);
  return made;
}

void CubeCache::apply(const ColorGrade& grade, Picture& picture) { apply(grade, picture, picture); }

bool CubeCache::apply(const ColorGrade& grade, const Picture& from, Picture& to) {
  if (isIdentity(grade) || from.empty()) return false;
  const auto prepared = cube(grade);
  if (!prepared) return false;
  prepared->apply(from, to);
  return true;
}

}  // namespace brevelan
