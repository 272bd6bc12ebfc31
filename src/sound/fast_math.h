#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

namespace brevelan {

// 2^x and log2(x) in single precision for the per-sample loops of the
// dynamics effects, where the library calls cost more than the rest of the
// work. Both are branch-free (a mispredicted jump per sample would cost more
// than the arithmetic) and close to float precision: relative error of 2^x
// below 3e-7, absolute error of log2 below 1e-6 (a millionth of an octave).

inline float fastExp2(float x) {
  // NaN becomes the low clamp, so nothing invalid reaches the bit tricks.
  x = std::min(std::max(x, -125.0f), 127.0f);
  // Round to nearest with the float-magic trick (no rounding instruction
  // needed), leaving |f| ≤ 0.5 where seven terms of e^(f ln 2) are exact.
  const float r = (x + 12582912.0f) - 12582912.0f;
  const float f = x - r;
  const float p =
      1.0f + f * (0.69314718f +
                  f * (0.24022651f + f * (0.055504109f + f * (0.0096181291f + f * (0.0013333558f + f * 0.00015403530f)))));
  const auto i = static_cast<std::int32_t>(r);
  return p * std::bit_cast<float>(static_cast<std::uint32_t>(i + 127) << 23);
}

// For x > 0 and finite.
inline float fastLog2(float x) {
  const auto bits = std::bit_cast<std::uint32_t>(x);
  const auto exponent = static_cast<float>(static_cast<std::int32_t>(bits >> 23) - 127);
  const float t = std::bit_cast<float>((bits & 0x007fffffu) | 0x3f800000u) - 1.0f;  // mantissa − 1, [0, 1)
  // Near-minimax polynomial of log2(1 + t) on [0, 1): no division on the way.
  const float series =
      5.64224405e-08f +
      t * (1.44268585f +
           t * (-0.721095768f +
                t * (0.478176442f +
                     t * (-0.345429337f + t * (0.238041984f + t * (-0.133146927f + t * (0.0494333684f + t * -0.00866569931f)))))));
  return exponent + series;
}

}  // namespace brevelan
