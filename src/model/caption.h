#pragma once

#include <cstdint>
#include <string>

#include "model/uuid.h"

namespace brevelan {

// One caption line: shown from frame `start` up to, not including, `end` (> start).
struct Caption {
  Uuid id;
  std::int64_t start = 0;
  std::int64_t end = 1;
  std::string text;

  friend bool operator==(const Caption&, const Caption&) = default;
};

// How a sequence's captions are drawn. Size is in points at 1080 lines;
// bottomMargin is a fraction of the picture height.
struct CaptionStyle {
  std::string fontName = "DejaVu Sans";
  double size = 44;
  bool burnIn = false;
  bool box = true;
  double bottomMargin = 0.08;

  friend bool operator==(const CaptionStyle&, const CaptionStyle&) = default;
};

}  // namespace brevelan
