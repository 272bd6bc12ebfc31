#pragma once

#include <array>
#include <optional>
#include <vector>

#include "model/color_grade.h"
#include "picture/lut.h"
#include "picture/tone_curve.h"

namespace brevelan {

// Lattice points per axis of a baked grade.
inline constexpr int kCubeDimension = 33;
inline constexpr std::size_t kCubeFloats =
    static_cast<std::size_t>(kCubeDimension) * kCubeDimension * kCubeDimension * 4;

// The grade function on one colour (channels 0…1, sRGB-encoded). A null lut
// means the grade's own lutPath is looked up in LUTLibrary::shared().
ColorRGB applyGrade(const ColorGrade& grade, ColorRGB rgb, const LUT* lut = nullptr);

// True when the grade changes nothing: disabled, or every control neutral,
// every curve the identity and no LUT in effect (none set, amount 0, or the
// file unreadable).
bool isIdentity(const ColorGrade& grade);

// The grade on a 33³ lattice as (r, g, b, a) floats, red fastest, then green,
// then blue; alpha is 1. A null lut is looked up as in applyGrade.
std::vector<float> cubeData(const ColorGrade& grade, const LUT* lut = nullptr);

// The grade function with its curves prepared once. The per-channel steps
// (exposure, temperature, tint, wheels, contrast) are split from the mixing
// ones so a bake can tabulate the former per lattice value.
class GradeFunction {
 public:
  // lut is used as given (null: no LUT) and must outlive this object.
  GradeFunction(const ColorGrade& grade, const LUT* lut);

  ColorRGB operator()(ColorRGB rgb) const;
  // Steps that see one channel only; channel 0, 1, 2 is red, green, blue.
  double channelStage(int channel, double c) const;
  // Saturation, clamping, curves and the LUT, on the channel stage's output.
  ColorRGB finish(ColorRGB rgb) const;
  bool enabled() const { return enabled_; }

 private:
  bool enabled_ = true;
  bool linearStep_ = false;
  double exposureGain_[3]{};
  bool wheelStep_ = false;
  double lift_[3]{}, gain_[3]{}, inverseGamma_[3]{};
  double contrast_ = 0;
  double saturation_ = 1;
  std::optional<MonotoneCurve> master_;
  std::array<std::optional<MonotoneCurve>, 3> channelCurves_;
  const LUT* lut_ = nullptr;
  double lutAmount_ = 0;
};

}  // namespace brevelan
