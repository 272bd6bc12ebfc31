#include "picture/track_allocator.h"

namespace brevelan {

std::int32_t TrackAllocator::allocate(std::int64_t from, std::int64_t to) {
  for (std::size_t t = 0; t < tracks_.size(); ++t) {
    bool free = true;
    for (const Span& span : tracks_[t]) {
      if (span.from < to && from < span.to) {
        free = false;
        break;
      }
    }
    if (free) {
      tracks_[t].push_back({from, to});
      return static_cast<std::int32_t>(t + 1);
    }
  }
  tracks_.push_back({{from, to}});
  return static_cast<std::int32_t>(tracks_.size());
}

}  // namespace brevelan
