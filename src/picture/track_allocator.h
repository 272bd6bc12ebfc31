#pragma once

#include <cstdint>
#include <vector>

namespace brevelan {

// Hands out source tracks so that clips whose spans overlap never share one:
// each source track is read by one frame-exact reader, moving forward through
// its clips in time. IDs start at 1; a free existing track is reused first.
class TrackAllocator {
 public:
  std::int32_t allocate(std::int64_t from, std::int64_t to);
  std::size_t trackCount() const { return tracks_.size(); }

 private:
  struct Span {
    std::int64_t from, to;
  };
  std::vector<std::vector<Span>> tracks_;
};

}  // namespace brevelan
