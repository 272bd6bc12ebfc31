#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "model/track.h"
#include "model/uuid.h"

namespace brevelan {

// Where time sits on the canvas: frame f is drawn at originX + f × pixelsPerFrame,
// where originX already accounts for the horizontal scroll.
struct TimeAxis {
  double originX = 0;
  double pixelsPerFrame = 3;

  double x(std::int64_t frame) const { return originX + static_cast<double>(frame) * pixelsPerFrame; }
  // The frame whose span holds x.
  std::int64_t frameAt(double px) const;
  // The frame boundary nearest to x.
  std::int64_t boundaryAt(double px) const;
};

// What part of a clip the pointer holds.
enum class Grab { head, tail, body };

struct ClipHit {
  std::size_t index = 0;  // into the track's clips
  Uuid clip;
  Grab grab = Grab::body;
};

// Screen points either side of an edge that still grab it.
inline constexpr double kEdgeReach = 7;

// The clip a press at x on the track grabs: the first clip whose head lies
// within kEdgeReach of x (and that ends after the frame under x) by its head,
// else the first whose end lies that close (starting before that frame) by its
// tail, else the clip covering the frame by its body.
std::optional<ClipHit> hitClip(const Track& track, const TimeAxis& axis, double px);

// The clips of a track that reach into frames [from, to): a range of indices,
// found by halving (clips are sorted and never overlap, so ends are sorted too).
std::pair<std::size_t, std::size_t> clipsBetween(const Track& track, std::int64_t from, std::int64_t to);

}  // namespace brevelan
