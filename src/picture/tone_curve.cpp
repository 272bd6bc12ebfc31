#include "picture/tone_curve.h"

#include <algorithm>
#include <cmath>

namespace brevelan {

bool isIdentity(const ToneCurve& curve) {
  return std::all_of(curve.points.begin(), curve.points.end(),
                     [](const CurvePoint& p) { return std::abs(p.x - p.y) < 1e-9; });
}

double curveValue(const ToneCurve& curve, double v) { return MonotoneCurve(curve)(v); }

MonotoneCurve::MonotoneCurve(const ToneCurve& curve) {
  auto points = curve.points;
  std::stable_sort(points.begin(), points.end(), [](const CurvePoint& a, const CurvePoint& b) { return a.x < b.x; });
  const std::size_t n = points.size();
  if (n < 2) return;
  for (const auto& p : points) {
    xs_.push_back(p.x);
    ys_.push_back(p.y);
  }
  // Secants; a repeated x gives a flat secant rather than a division by zero.
  std::vector<double> d(n - 1);
  for (std::size_t k = 0; k + 1 < n; ++k) {
    const double dx = xs_[k + 1] - xs_[k];
    d[k] = dx > 0 ? (ys_[k + 1] - ys_[k]) / dx : 0;
  }
  tangents_.resize(n);
  tangents_[0] = d[0];
  tangents_[n - 1] = d[n - 2];
  for (std::size_t k = 1; k + 1 < n; ++k) tangents_[k] = d[k - 1] * d[k] > 0 ? (d[k - 1] + d[k]) / 2 : 0;
  // Fritsch–Carlson: shrink tangents that would overshoot, so the curve never
  // turns back between points that rise (or fall) together.
  for (std::size_t k = 0; k + 1 < n; ++k) {
    if (d[k] == 0) {
      tangents_[k] = tangents_[k + 1] = 0;
      continue;
    }
    const double a = tangents_[k] / d[k], b = tangents_[k + 1] / d[k];
    const double r2 = a * a + b * b;
    if (r2 > 9) {
      const double t = 3 / std::sqrt(r2);
      tangents_[k] = t * a * d[k];
      tangents_[k + 1] = t * b * d[k];
    }
  }
}

double MonotoneCurve::operator()(double v) const {
  if (xs_.size() < 2) return v;
  if (v <= xs_.front()) return ys_.front();
  if (v >= xs_.back()) return ys_.back();
  // First point whose x exceeds v closes the segment; repeated x values give
  // empty segments that upper_bound steps over.
  const auto hi = static_cast<std::size_t>(std::upper_bound(xs_.begin(), xs_.end(), v) - xs_.begin());
  if (hi == 0 || hi >= xs_.size()) return v;  // only for NaN
  const std::size_t k = hi - 1;
  const double h = xs_[hi] - xs_[k];
  const double s = (v - xs_[k]) / h, s2 = s * s, s3 = s2 * s;
  return ys_[k] * (2 * s3 - 3 * s2 + 1) + ys_[hi] * (3 * s2 - 2 * s3) + tangents_[k] * h * (s3 - 2 * s2 + s) +
         tangents_[hi] * h * (s3 - s2);
}

}  // namespace brevelan
