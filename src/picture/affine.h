#pragma once

#include <optional>

namespace brevelan {

struct Point {
  double x = 0;
  double y = 0;
};

// A 2-D affine map: x' = a x + c y + tx, y' = b x + d y + ty. The raster uses
// it in pixel space with y growing downward.
struct Affine {
  double a = 1;
  double b = 0;
  double c = 0;
  double d = 1;
  double tx = 0;
  double ty = 0;

  Point apply(Point p) const { return {a * p.x + c * p.y + tx, b * p.x + d * p.y + ty}; }

  // This map followed by `next`.
  Affine then(const Affine& next) const;
  // Nothing when the map squashes the plane to a line or a point (zero scale).
  std::optional<Affine> inverse() const;
  double determinant() const { return a * d - b * c; }
  // Scale 1, no turn, whole-pixel offsets: pixels land exactly on pixels.
  bool isIntegerTranslation() const;
  // No turn and no shear: rows stay rows (scale and mirroring allowed).
  bool isAxisAligned() const { return b == 0 && c == 0; }

  friend bool operator==(const Affine&, const Affine&) = default;
};

// outer ∘ inner: apply `inner` first.
Affine compose(const Affine& outer, const Affine& inner);

Affine translation(double tx, double ty);
Affine scaling(double sx, double sy);
// Turns by `radians` from the +x axis towards the +y axis.
Affine rotation(double radians);

}  // namespace brevelan
