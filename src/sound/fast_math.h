#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace brevelan {

// Eight floats as one value, for the block passes of the dynamics effects.
// GCC lowers each operation to the vector width of the function it lands in
// (two SSE registers, one AVX register), so one source serves every build of
// a multi-target function.
using Floats = float __attribute__((vector_size(32)));
using FloatBits = std::int32_t __attribute__((vector_size(32)));
inline constexpr std::size_t kFloatsLanes = 8;

// Everything returning Floats is always inlined into its caller, so the
// calling convention for 32-byte vectors (which differs with and without AVX)
// never applies. GCC warns about it regardless, here and at every call that
// takes a returned value: files making such calls turn off -Wpsabi too.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpsabi"

[[gnu::always_inline]] inline Floats splat(float v) { return Floats{} + v; }
[[gnu::always_inline]] inline Floats loadFloats(const float* p) {
  Floats v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
[[gnu::always_inline]] inline void storeFloats(float* p, const Floats& v) { std::memcpy(p, &v, sizeof v); }
// a when it is the larger, else b; a NaN in a gives b.
[[gnu::always_inline]] inline Floats maxOf(const Floats& a, const Floats& b) { return a > b ? a : b; }
[[gnu::always_inline]] inline Floats minOf(const Floats& a, const Floats& b) { return a < b ? a : b; }

// 2^x and log2(x) in single precision, branch-free so that they vectorise:
// relative error of 2^x below 3e-7, absolute error of log2 below 1e-6 (a
// millionth of an octave).
[[gnu::always_inline]] inline Floats fastExp2(const Floats& value) {
  // NaN fails the first comparison and becomes the low clamp, so nothing
  // invalid reaches the bit tricks.
  const Floats x = minOf(maxOf(value, splat(-125.0f)), splat(127.0f));
  // Round to nearest with the float-magic trick (no rounding instruction
  // needed), leaving |f| ≤ 0.5 where seven terms of e^(f ln 2) are exact.
  const Floats r = (x + 12582912.0f) - 12582912.0f;
  const Floats f = x - r;
  const Floats p =
      1.0f + f * (0.69314718f +
                  f * (0.24022651f + f * (0.055504109f + f * (0.0096181291f + f * (0.0013333558f + f * 0.00015403530f)))));
  const FloatBits i = __builtin_convertvector(r, FloatBits);
  return p * std::bit_cast<Floats>((i + 127) << 23);
}

// For x > 0 and finite.
[[gnu::always_inline]] inline Floats fastLog2(const Floats& x) {
  const auto bits = std::bit_cast<FloatBits>(x);
  const Floats exponent = __builtin_convertvector((bits >> 23) - 127, Floats);
  const Floats t = std::bit_cast<Floats>((bits & 0x007fffff) | 0x3f800000) - 1.0f;  // mantissa − 1, [0, 1)
  // Near-minimax polynomial of log2(1 + t) on [0, 1): no division on the way.
  const Floats series =
      5.64224405e-08f +
      t * (1.44268585f +
           t * (-0.721095768f +
                t * (0.478176442f +
                     t * (-0.345429337f + t * (0.238041984f + t * (-0.133146927f + t * (0.0494333684f + t * -0.00866569931f)))))));
  return exponent + series;
}

// Multiplies both samples of frames 0 … n − 1 of an interleaved stereo buffer
// by gains[0 … n − 1], eight frames at a time.
[[gnu::always_inline]] inline void applyFrameGains(float* s, const float* gains, std::size_t n) {
  std::size_t i = 0;
  for (; i + kFloatsLanes <= n; i += kFloatsLanes) {
    const Floats g = loadFloats(gains + i);
    float* p = s + 2 * i;
    storeFloats(p, loadFloats(p) * __builtin_shufflevector(g, g, 0, 0, 1, 1, 2, 2, 3, 3));
    storeFloats(p + kFloatsLanes, loadFloats(p + kFloatsLanes) * __builtin_shufflevector(g, g, 4, 4, 5, 5, 6, 6, 7, 7));
  }
  for (; i < n; ++i) {
    s[2 * i] *= gains[i];
    s[2 * i + 1] *= gains[i];
  }
}

#pragma GCC diagnostic pop

}  // namespace brevelan
