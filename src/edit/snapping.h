#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "model/sequence.h"

namespace brevelan {

// Frames a dragged edge may snap to: the `extra` frames (the caller's In and
// Out marks, when set), the playhead, every marker and the start and end of
// every clip not in `excluding` (the dragged clips, so a clip never snaps to
// its own edges). Locked tracks count. Sorted ascending without repeats, so a
// tie in snap() goes to the earlier frame.
std::vector<std::int64_t> snapPoints(const BrevSequence& seq, const std::vector<Uuid>& excluding,
                                     std::optional<std::int64_t> playhead,
                                     const std::vector<std::int64_t>& extra = {});

// The candidate nearest to `frame` that is at most `within` frames away; the
// first one met wins a tie. None when nothing is that close.
std::optional<std::int64_t> snap(std::int64_t frame, const std::vector<std::int64_t>& points, std::int64_t within);

// The snapping reach in frames at a timeline zoom: the whole part of
// 9 / pixelsPerFrame, plus 1 (about nine screen points, never under a frame).
std::int64_t snapReach(double pixelsPerFrame);

}  // namespace brevelan
