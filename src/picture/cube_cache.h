#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "media/picture.h"
#include "model/color_grade.h"
#include "picture/color_grading.h"

namespace brevelan {

// A baked grade (kCubeDimension³ lattice) prepared for 8-bit pictures:
// 14-bit fixed-point cells looked up trilinearly with per-value index and
// fraction tables, so a frame costs no transcendental maths at all.
class ColorCube {
 public:
  // data: kCubeFloats floats as cubeData() lays them out; anything else, or
  // values outside 0…1, is clamped into a valid cube.
  explicit ColorCube(std::span<const float> data);

  // Grades a premultiplied picture in place: opaque pixels go straight
  // through the cube, translucent ones are un-premultiplied around it and
  // fully transparent ones are left alone.
  void apply(Picture& picture) const { apply(picture, picture); }
  // The graded pixels of `from` written to `to`, a picture of the same size
  // and order (or `from` itself).
  void apply(const Picture& from, Picture& to) const;
  // The same results without vector instructions (what non-x86 builds use).
  void applyPortable(Picture& picture) const;

 private:
  std::vector<std::int16_t> cells_;
};

// Prepared cubes shared by the compositor, the exporter and the interface,
// keyed by the cube's bytes and, in front of that, by the grade that baked
// them, so an unchanged grade costs a look-up per frame rather than a bake.
// Both maps keep the most recently used entries only.
class CubeCache {
 public:
  static CubeCache& shared();

  // Null unless data holds kCubeFloats floats.
  std::shared_ptr<const ColorCube> cube(std::span<const float> data);
  // The cube for a grade (with its LUT as LUTLibrary has it), baked on first use.
  std::shared_ptr<const ColorCube> cube(const ColorGrade& grade);
  // Grades the picture; an identity grade leaves it untouched.
  void apply(const ColorGrade& grade, Picture& picture);
  // Writes the graded `from` to `to` (same size and order); false, with `to`
  // untouched, for an identity grade or one that cannot be baked.
  bool apply(const ColorGrade& grade, const Picture& from, Picture& to);

 private:
  struct ByBytes {
    std::uint64_t hash;
    std::vector<float> data;
    std::shared_ptr<const ColorCube> cube;
    std::uint64_t used;
  };
  struct ByGrade {
    ColorGrade grade;
    std::shared_ptr<const LUT> lut;
    std::shared_ptr<const ColorCube> cube;
    std::uint64_t used;
  };
  std::shared_ptr<const ColorCube> findLocked(std::span<const float> data, std::uint64_t hash);
  std::shared_ptr<const ColorCube> findLocked(const ColorGrade& grade, const LUT* lut);

  std::mutex mutex_;
  std::vector<ByBytes> byBytes_;
  std::vector<ByGrade> byGrade_;
  std::uint64_t clock_ = 0;
};

}  // namespace brevelan
