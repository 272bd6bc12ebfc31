#pragma once

#include <array>
#include <cstdint>

#include "media/picture.h"

namespace brevelan::testing {

// The four stored bytes of a pixel, as numbers.
using Pixel = std::array<int, 4>;

inline Pixel pixel(const Picture& p, int x, int y) {
  const std::uint8_t* q = p.at(x, y);
  return {q[0], q[1], q[2], q[3]};
}

}  // namespace brevelan::testing
