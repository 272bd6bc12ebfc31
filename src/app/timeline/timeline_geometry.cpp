#include "app/timeline/timeline_geometry.h"

#include <algorithm>
#include <cmath>

namespace brevelan {

std::int64_t TimeAxis::frameAt(double px) const {
  return static_cast<std::int64_t>(std::floor((px - originX) / pixelsPerFrame));
}

std::int64_t TimeAxis::boundaryAt(double px) const {
  return static_cast<std::int64_t>(std::llround((px - originX) / pixelsPerFrame));
}

std::pair<std::size_t, std::size_t> clipsBetween(const Track& track, std::int64_t from, std::int64_t to) {
  const auto& clips = track.clips;
  const auto first = std::partition_point(clips.begin(), clips.end(), [&](const Clip& c) { return c.end() <= from; });
  const auto last = std::partition_point(first, clips.end(), [&](const Clip& c) { return c.start < to; });
  return {static_cast<std::size_t>(first - clips.begin()), static_cast<std::size_t>(last - clips.begin())};
}

std::optional<ClipHit> hitClip(const Track& track, const TimeAxis& axis, double px) {
  const std::int64_t f = axis.frameAt(px);
  // Only clips with an edge or body within reach of the pointer can be grabbed.
  const auto reach = static_cast<std::int64_t>(std::ceil(kEdgeReach / axis.pixelsPerFrame)) + 1;
  const auto [first, last] = clipsBetween(track, f - reach, f + reach + 1);
  const auto near = [&](std::int64_t frame) { return std::abs(axis.x(frame) - px) <= kEdgeReach; };
  for (std::size_t i = first; i < last; ++i) {
    const Clip& c = track.clips[i];
    if (near(c.start) && c.end() > f) return ClipHit{i, c.id, Grab::head};
  }
  for (std::size_t i = first; i < last; ++i) {
    const Clip& c = track.clips[i];
    if (near(c.end()) && f > c.start) return ClipHit{i, c.id, Grab::tail};
  }
  for (std::size_t i = first; i < last; ++i) {
    const Clip& c = track.clips[i];
    if (c.covers(f)) return ClipHit{i, c.id, Grab::body};
  }
  return std::nullopt;
}

}  // namespace brevelan
