#pragma once

#include <cstdint>
#include <string>

#include "model/uuid.h"

namespace brevelan {

// A named point on the timeline; `color` is an index into the marker palette.
struct Marker {
  Uuid id;
  std::int64_t frame = 0;
  std::string name;
  std::int64_t color = 0;

  friend bool operator==(const Marker&, const Marker&) = default;
};

}  // namespace brevelan
