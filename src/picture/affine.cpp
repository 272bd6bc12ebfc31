#include "picture/affine.h"

#include <cmath>

namespace brevelan {

Affine compose(const Affine& o, const Affine& i) {
  return {o.a * i.a + o.c * i.b,         o.b * i.a + o.d * i.b,         o.a * i.c + o.c * i.d,
          o.b * i.c + o.d * i.d,         o.a * i.tx + o.c * i.ty + o.tx, o.b * i.tx + o.d * i.ty + o.ty};
}

Affine Affine::then(const Affine& next) const { return compose(next, *this); }

std::optional<Affine> Affine::inverse() const {
  const double det = determinant();
  if (!std::isfinite(det) || std::abs(det) < 1e-12) return std::nullopt;
  const double ia = d / det, ib = -b / det, ic = -c / det, id = a / det;
  return Affine{ia, ib, ic, id, -(ia * tx + ic * ty), -(ib * tx + id * ty)};
}

bool Affine::isIntegerTranslation() const {
  // Offsets a hair off a whole pixel come from floating-point composition
  // (e.g. a scale and its inverse); they draw the same pixels.
  constexpr double tolerance = 1e-9;
  return std::abs(a - 1) < tolerance && std::abs(b) < tolerance && std::abs(c) < tolerance &&
         std::abs(d - 1) < tolerance && std::abs(tx - std::round(tx)) < tolerance &&
         std::abs(ty - std::round(ty)) < tolerance;
}

Affine translation(double tx, double ty) { return {1, 0, 0, 1, tx, ty}; }
Affine scaling(double sx, double sy) { return {sx, 0, 0, sy, 0, 0}; }
Affine rotation(double radians) {
  const double cs = std::cos(radians), sn = std::sin(radians);
  return {cs, sn, -sn, cs, 0, 0};
}

}  // namespace brevelan
