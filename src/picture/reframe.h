#pragma once

#include <optional>
#include <string_view>

#include "media/picture.h"
#include "model/enum_text.h"

namespace brevelan {

// How an exported frame of another shape than the canvas is filled.
enum class Reframe { fit, fitBlur, fill };

template <>
struct EnumTexts<Reframe> {
  static constexpr std::string_view noun = "reframe";
  static constexpr std::array<std::pair<Reframe, std::string_view>, 3> items{{{Reframe::fit, "Fit (black bars)"},
                                                                              {Reframe::fitBlur, "Fit (blurred background)"},
                                                                              {Reframe::fill, "Fill (crop to fill)"}}};
};

// The mode a command line names: "fit", "fitBlur" or "fill".
std::optional<Reframe> reframeNamed(std::string_view name);

// Brings a canvas-size frame to outW × outH, centred: fit shows all of it over
// black bars, fitBlur over a darkened, blurred fill of itself, fill covers the
// output and cuts the overflow. Equal sizes come back unchanged.
Picture reframe(const Picture& canvas, int outW, int outH, Reframe mode);

}  // namespace brevelan
