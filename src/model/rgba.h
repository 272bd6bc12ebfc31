#pragma once

namespace brevelan {

// A colour with components 0…1, sRGB-encoded, alpha not premultiplied.
struct RGBA {
  double r = 0;
  double g = 0;
  double b = 0;
  double a = 1;

  static constexpr RGBA black() { return {0, 0, 0, 1}; }
  static constexpr RGBA white() { return {1, 1, 1, 1}; }

  friend bool operator==(const RGBA&, const RGBA&) = default;
};

}  // namespace brevelan
