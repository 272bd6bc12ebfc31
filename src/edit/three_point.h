#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "edit/placement_edits.h"
#include "model/media_item.h"
#include "model/sequence.h"

namespace brevelan {

// What a source edit reads from the editor. Out marks are exclusive: a range
// In..Out is Out - In frames long.
struct SourceEditMarks {
  std::optional<std::int64_t> sourceIn;
  std::optional<std::int64_t> sourceOut;
  std::optional<std::int64_t> markIn;
  std::optional<std::int64_t> markOut;
  std::int64_t playhead = 0;
  std::int64_t targetVideo = 0;
  std::int64_t targetAudio = 0;
};

// A worked-out source edit: where it lands on the timeline, the part of the
// source it uses, and the clips for the target tracks.
struct SourceEdit {
  std::int64_t at = 0;
  std::int64_t sourceIn = 0;
  std::int64_t length = 0;
  std::vector<Placement> items;
};

// Three-point editing: any three of Source In, Source Out, Timeline In and
// Timeline Out decide the edit, with the playhead standing in for an unset
// Timeline In.
//   - Source range: In..Out, In to the source's end, 0..Out, or the whole
//     source; a still has no end and counts as 5 seconds. The In is held
//     inside the source with at least one frame after it, and the length to
//     what the source has left.
//   - Both timeline marks: the edit fills that range, or less when the source
//     is shorter. Only Timeline Out: the edit ends there (back-timed).
//     Otherwise it starts at Timeline In or the playhead. Never before 0.
// Makes one picture clip for the target video track when the media has
// picture and one sound clip for the target audio track when it has sound,
// linked when there are both; a missing target track gets none. Nothing
// when both timeline marks are set and In is not before Out.
std::optional<SourceEdit> threePointClips(const BrevSequence& seq, const MediaItem& media,
                                          const SourceEditMarks& marks);

}  // namespace brevelan
