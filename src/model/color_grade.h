#pragma once

#include <optional>
#include <string>
#include <vector>

namespace brevelan {

struct CurvePoint {
  double x = 0;
  double y = 0;

  friend bool operator==(const CurvePoint&, const CurvePoint&) = default;
};

// A tone curve through its points. The new curve holds the two corner points
// (0, 0) and (1, 1), which change nothing.
struct ToneCurve {
  std::vector<CurvePoint> points{{0, 0}, {1, 1}};

  friend bool operator==(const ToneCurve&, const ToneCurve&) = default;
};

// One of the lift / gamma / gain wheels: the puck's position and the slider under it.
struct ColorWheel {
  double x = 0;
  double y = 0;
  double luma = 0;

  friend bool operator==(const ColorWheel&, const ColorWheel&) = default;
};

// A clip's colour correction; every default is neutral, so a new grade leaves
// the picture unchanged.
struct ColorGrade {
  double exposure = 0;
  double contrast = 0;
  double saturation = 1;
  double temperature = 0;
  double tint = 0;
  ColorWheel lift;
  ColorWheel gamma;
  ColorWheel gain;
  ToneCurve master;
  ToneCurve red;
  ToneCurve green;
  ToneCurve blue;
  std::optional<std::string> lutPath;
  double lutAmount = 1;
  bool enabled = true;

  friend bool operator==(const ColorGrade&, const ColorGrade&) = default;
};

}  // namespace brevelan
