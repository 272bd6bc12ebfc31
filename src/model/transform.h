#pragma once

#include "model/enum_text.h"

namespace brevelan {

enum class FitMode { fit, fill, stretch };

template <>
struct EnumTexts<FitMode> {
  static constexpr std::string_view noun = "fit mode";
  static constexpr std::array<std::pair<FitMode, std::string_view>, 3> items{
      {{FitMode::fit, "Fit"}, {FitMode::fill, "Fill"}, {FitMode::stretch, "Stretch"}}};
};

// A move and zoom from the start values to the end values over the clip.
// The neutral value (scale 1, offsets 0) leaves the picture where it is.
struct KenBurns {
  double startScale = 1;
  double endScale = 1;
  double startX = 0;
  double startY = 0;
  double endX = 0;
  double endY = 0;
  bool ease = false;

  friend bool operator==(const KenBurns&, const KenBurns&) = default;
};

// Placement of a clip's picture on the canvas: position in pixels from the
// centre, scale on top of the fit, rotation in degrees, crops as fractions.
struct Transform {
  double x = 0;
  double y = 0;
  double scale = 1;
  double rotation = 0;
  double opacity = 1;
  double cropL = 0;
  double cropR = 0;
  double cropT = 0;
  double cropB = 0;
  FitMode fit = FitMode::fit;
  KenBurns kenBurns;
  bool flipH = false;

  friend bool operator==(const Transform&, const Transform&) = default;
};

}  // namespace brevelan
