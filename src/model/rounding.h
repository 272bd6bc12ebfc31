#pragma once

#include <cmath>
#include <cstdint>

namespace brevelan {

// The one rounding rule for seconds and source frames: to nearest, halves away
// from zero (std::llround does exactly this).
inline std::int64_t roundHalfAway(double value) { return std::llround(value); }

}  // namespace brevelan
