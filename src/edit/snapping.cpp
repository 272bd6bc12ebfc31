#include "edit/snapping.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "edit/sequence_queries.h"

namespace brevelan {

std::vector<std::int64_t> snapPoints(const BrevSequence& seq, const std::vector<Uuid>& excluding,
                                     std::optional<std::int64_t> playhead, const std::vector<std::int64_t>& extra) {
  std::set<std::int64_t> points(extra.begin(), extra.end());
  if (playhead) points.insert(*playhead);
  for (const Marker& marker : seq.markers) points.insert(marker.frame);
  for (const TrackRef ref : allRefs(seq)) {
    for (const Clip& c : trackAt(seq, ref).clips) {
      if (std::find(excluding.begin(), excluding.end(), c.id) != excluding.end()) continue;
      points.insert(c.start);
      points.insert(c.end());
    }
  }
  return {points.begin(), points.end()};
}

std::optional<std::int64_t> snap(std::int64_t frame, const std::vector<std::int64_t>& points, std::int64_t within) {
  if (within < 0) return std::nullopt;
  std::optional<std::int64_t> best;
  // Unsigned distances: candidates far across the frame range must not overflow.
  std::uint64_t bestDistance = static_cast<std::uint64_t>(within) + 1;
  for (const std::int64_t p : points) {
    const std::uint64_t d = p >= frame ? static_cast<std::uint64_t>(p) - static_cast<std::uint64_t>(frame)
                                       : static_cast<std::uint64_t>(frame) - static_cast<std::uint64_t>(p);
    if (d < bestDistance) {
      bestDistance = d;
      best = p;
    }
  }
  return best;
}

std::int64_t snapReach(double pixelsPerFrame) {
  // A zoom of zero or less (or NaN) is meaningless; treat it as fully zoomed out.
  const double frames = pixelsPerFrame > 0 ? std::min(9.0 / pixelsPerFrame, 1e9) : 1e9;
  return static_cast<std::int64_t>(std::floor(frames)) + 1;
}

}  // namespace brevelan
