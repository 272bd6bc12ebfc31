#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "model/expected.h"

namespace brevelan {

// One colour, each channel 0…1 as sRGB-encoded values (LUT outputs may leave
// that range; the grade clamps them).
struct ColorRGB {
  double r = 0;
  double g = 0;
  double b = 0;

  friend bool operator==(const ColorRGB&, const ColorRGB&) = default;
};

// Why a .cube text was refused; description() is the sentence shown under
// kLUTAlertTitle.
struct LUTParseError {
  enum class Kind { badData, notCube, badSize };
  Kind kind = Kind::notCube;
  int count = 0;  // colour lines read, for badData

  std::string description() const;
  friend bool operator==(const LUTParseError&, const LUTParseError&) = default;
};

inline constexpr std::string_view kLUTAlertTitle = "Could not load the LUT";

// A parsed .cube look-up table, 1D or 3D.
struct LUT {
  std::string title;
  int size = 0;
  bool is3D = true;
  std::array<float, 3> domainMin{0, 0, 0};
  std::array<float, 3> domainMax{1, 1, 1};
  // 3D: size³ entries, red fastest, then green, then blue. 1D: size entries.
  std::vector<std::array<float, 3>> data;

  static Expected<LUT, LUTParseError> parse(std::string_view text);

  // Inputs outside the domain are clamped to its edge.
  ColorRGB apply(ColorRGB rgb) const;
};

}  // namespace brevelan
