#include "picture/color_grading.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include "picture/lut_library.h"

namespace brevelan {

namespace {

double decodeSRGB(double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); }
double encodeSRGB(double c) { return c <= 0.0031308 ? c * 12.92 : 1.055 * std::pow(c, 1 / 2.4) - 0.055; }
double clamp01(double c) { return std::clamp(c, 0.0, 1.0); }

bool isNeutral(const ColorWheel& w) { return w.x == 0 && w.y == 0 && w.luma == 0; }

// A wheel's puck as an amount (0…1) times a per-channel tint factor: the
// channel whose hue the puck points at gets the most.
std::array<double, 3> wheelTint(const ColorWheel& w) {
  const double amount = std::min(std::hypot(w.x, w.y), 1.0);
  const double angle = std::atan2(w.y, w.x);
  constexpr double third = 2 * std::numbers::pi / 3;
  return {amount * std::cos(angle), amount * std::cos(angle - third), amount * std::cos(angle + third)};
}

// A LUT only counts when it will be applied: a set amount and a file that loads.
std::shared_ptr<const LUT> lutInEffect(const ColorGrade& grade) {
  if (!grade.lutPath || !(grade.lutAmount > 0)) return nullptr;
  return LUTLibrary::shared().lut(grade.lutPath);
}

}  // namespace

GradeFunction::GradeFunction(const ColorGrade& grade, const LUT* lut) : enabled_(grade.enabled) {
  linearStep_ = grade.exposure != 0 || grade.temperature != 0 || grade.tint != 0;
  const double k = std::exp2(grade.exposure);
  exposureGain_[0] = k * (1 + grade.temperature * 0.25);
  exposureGain_[1] = k * (1 - grade.tint * 0.18);
  exposureGain_[2] = k * (1 - grade.temperature * 0.25);

  wheelStep_ = !isNeutral(grade.lift) || !isNeutral(grade.gamma) || !isNeutral(grade.gain);
  const auto liftTint = wheelTint(grade.lift), gammaTint = wheelTint(grade.gamma), gainTint = wheelTint(grade.gain);
  for (std::size_t c = 0; c < 3; ++c) {
    lift_[c] = grade.lift.luma * 0.5 + liftTint[c] * 0.2;
    gain_[c] = 1 + grade.gain.luma + gainTint[c] * 0.4;
    inverseGamma_[c] = 1 / std::max(1 + grade.gamma.luma + gammaTint[c] * 0.4, 0.1);
  }

  contrast_ = grade.contrast;
  saturation_ = grade.saturation;
  if (!isIdentity(grade.master)) master_.emplace(grade.master);
  const ToneCurve* curves[3] = {&grade.red, &grade.green, &grade.blue};
  for (std::size_t c = 0; c < 3; ++c)
    if (!isIdentity(*curves[c])) channelCurves_[c].emplace(*curves[c]);
  if (lut && grade.lutAmount > 0) {
    lut_ = lut;
    lutAmount_ = grade.lutAmount;
  }
}

double GradeFunction::channelStage(int channel, double c) const {
  const auto ch = static_cast<std::size_t>(channel);
  if (linearStep_) c = encodeSRGB(clamp01(decodeSRGB(c) * exposureGain_[ch]));
  if (wheelStep_) c = std::pow(std::max((c + (1 - c) * lift_[ch]) * gain_[ch], 0.0), inverseGamma_[ch]);
  if (contrast_ != 0) c = (c - 0.5) * (1 + contrast_) + 0.5;
  return c;
}

ColorRGB GradeFunction::finish(ColorRGB rgb) const {
  if (saturation_ != 1) {
    // Rec. 709 luma on the encoded values.
    const double y = 0.2126 * rgb.r + 0.7152 * rgb.g + 0.0722 * rgb.b;
    rgb = {y + (rgb.r - y) * saturation_, y + (rgb.g - y) * saturation_, y + (rgb.b - y) * saturation_};
  }
  rgb = {clamp01(rgb.r), clamp01(rgb.g), clamp01(rgb.b)};
  if (master_) rgb = {(*master_)(rgb.r), (*master_)(rgb.g), (*master_)(rgb.b)};
  if (channelCurves_[0]) rgb.r = (*channelCurves_[0])(rgb.r);
  if (channelCurves_[1]) rgb.g = (*channelCurves_[1])(rgb.g);
  if (channelCurves_[2]) rgb.b = (*channelCurves_[2])(rgb.b);
  if (lut_) {
    const ColorRGB l = lut_->apply(rgb);
    rgb = {rgb.r + (l.r - rgb.r) * lutAmount_, rgb.g + (l.g - rgb.g) * lutAmount_, rgb.b + (l.b - rgb.b) * lutAmount_};
  }
  return {clamp01(rgb.r), clamp01(rgb.g), clamp01(rgb.b)};
}

ColorRGB GradeFunction::operator()(ColorRGB rgb) const {
  if (!enabled_) return rgb;
  return finish({channelStage(0, rgb.r), channelStage(1, rgb.g), channelStage(2, rgb.b)});
}

ColorRGB applyGrade(const ColorGrade& grade, ColorRGB rgb, const LUT* lut) {
  if (!grade.enabled) return rgb;
  std::shared_ptr<const LUT> loaded;
  if (!lut) {
    loaded = lutInEffect(grade);
    lut = loaded.get();
  }
  return GradeFunction(grade, lut)(rgb);
}

bool isIdentity(const ColorGrade& grade) {
  if (!grade.enabled) return true;
  return grade.exposure == 0 && grade.temperature == 0 && grade.tint == 0 && isNeutral(grade.lift) &&
         isNeutral(grade.gamma) && isNeutral(grade.gain) && grade.contrast == 0 && grade.saturation == 1 &&
         isIdentity(grade.master) && isIdentity(grade.red) && isIdentity(grade.green) && isIdentity(grade.blue) &&
         !lutInEffect(grade);
}

std::vector<float> cubeData(const ColorGrade& grade, const LUT* lut) {
  std::shared_ptr<const LUT> loaded;
  if (!lut && grade.enabled) {
    loaded = lutInEffect(grade);
    lut = loaded.get();
  }
  const GradeFunction function(grade, lut);
  constexpr int n = kCubeDimension;
  // The per-channel steps depend on one lattice coordinate each: 3 × 33
  // evaluations instead of 3 × 35,937.
  double staged[3][n];
  for (int c = 0; c < 3; ++c)
    for (int i = 0; i < n; ++i) {
      const double v = static_cast<double>(i) / (n - 1);
      staged[c][i] = function.enabled() ? function.channelStage(c, v) : v;
    }
  std::vector<float> data(kCubeFloats);
  float* out = data.data();
  for (int k = 0; k < n; ++k)
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i) {
        const ColorRGB in{staged[0][i], staged[1][j], staged[2][k]};
        const ColorRGB rgb = function.enabled() ? function.finish(in) : in;
        *out++ = static_cast<float>(rgb.r);
        *out++ = static_cast<float>(rgb.g);
        *out++ = static_cast<float>(rgb.b);
        *out++ = 1;
      }
  return data;
}

}  // namespace brevelan
