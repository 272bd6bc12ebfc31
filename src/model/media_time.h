#pragma once

#include <compare>
#include <cstdint>

namespace brevelan {

// An exact rational time: value / timescale seconds. Comparisons are exact
// (cross-multiplied in 128 bits), so 30030000/30000 equals 1001/1.
struct MediaTime {
  std::int64_t value = 0;
  std::int64_t timescale = 1;

  double seconds() const { return static_cast<double>(value) / static_cast<double>(timescale); }

  friend bool operator==(const MediaTime& a, const MediaTime& b) { return (a <=> b) == 0; }
  friend std::strong_ordering operator<=>(const MediaTime& a, const MediaTime& b) {
    // Timescales are positive; a positive scale keeps the order of the cross products.
    __int128 left = static_cast<__int128>(a.value) * b.timescale;
    __int128 right = static_cast<__int128>(b.value) * a.timescale;
    if (left < right) return std::strong_ordering::less;
    if (left > right) return std::strong_ordering::greater;
    return std::strong_ordering::equal;
  }
};

}  // namespace brevelan
