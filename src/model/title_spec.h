#pragma once

#include <cstdint>
#include <string>

#include "model/enum_text.h"
#include "model/rgba.h"

namespace brevelan {

enum class TitleStyle { lowerThird, centered, credits };

template <>
struct EnumTexts<TitleStyle> {
  static constexpr std::string_view noun = "title style";
  static constexpr std::array<std::pair<TitleStyle, std::string_view>, 3> items{
      {{TitleStyle::lowerThird, "Lower Third"},
       {TitleStyle::centered, "Title"},
       {TitleStyle::credits, "End Credits (roll)"}}};
};

// The text clip's content and look; sizes are points at a 1080-line picture.
struct TitleSpec {
  TitleStyle style = TitleStyle::lowerThird;
  std::string text = "Title";
  std::string subtitle;
  std::string fontName = "DejaVu Sans";
  double size = 64;
  RGBA color = RGBA::white();
  RGBA barColor{0.08, 0.09, 0.11, 0.85};
  bool showBar = true;
  bool shadow = false;
  std::int64_t fadeFrames = 12;

  friend bool operator==(const TitleSpec&, const TitleSpec&) = default;
};

}  // namespace brevelan
