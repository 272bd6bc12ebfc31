#pragma once

#include <vector>

#include "model/color_grade.h"

namespace brevelan {

// A curve is the identity when every point lies on the diagonal; such a curve
// is skipped rather than evaluated.
bool isIdentity(const ToneCurve& curve);

// The monotone cubic through the curve's points (flat beyond the end points).
double curveValue(const ToneCurve& curve, double v);

// The same cubic with the sorting and tangents done once, for evaluating one
// curve many times (a cube bake evaluates each curve 35,937 times).
class MonotoneCurve {
 public:
  explicit MonotoneCurve(const ToneCurve& curve);
  double operator()(double v) const;

 private:
  std::vector<double> xs_, ys_, tangents_;
};

}  // namespace brevelan
