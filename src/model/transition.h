#pragma once

#include <cstdint>

#include "model/enum_text.h"
#include "model/rgba.h"

namespace brevelan {

enum class TransitionKind { crossfade, dipToColor, wipe, push, zoom, slide };

template <>
struct EnumTexts<TransitionKind> {
  static constexpr std::string_view noun = "transition kind";
  static constexpr std::array<std::pair<TransitionKind, std::string_view>, 6> items{
      {{TransitionKind::crossfade, "Crossfade"},
       {TransitionKind::dipToColor, "Dip to Color"},
       {TransitionKind::wipe, "Wipe"},
       {TransitionKind::push, "Push"},
       {TransitionKind::zoom, "Zoom Through"},
       {TransitionKind::slide, "Slide Over"}}};
};

enum class Direction { left, right, up, down };

template <>
struct EnumTexts<Direction> {
  static constexpr std::string_view noun = "direction";
  static constexpr std::array<std::pair<Direction, std::string_view>, 4> items{
      {{Direction::left, "Left"}, {Direction::right, "Right"}, {Direction::up, "Up"}, {Direction::down, "Down"}}};
};

// The transition on the cut at a clip's head, `duration` frames centred on the cut.
struct Transition {
  TransitionKind kind = TransitionKind::crossfade;
  std::int64_t duration = 30;
  RGBA color = RGBA::black();
  Direction direction = Direction::left;

  friend bool operator==(const Transition&, const Transition&) = default;
};

}  // namespace brevelan
