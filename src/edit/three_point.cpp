#include "edit/three_point.h"

#include <algorithm>

#include "edit/clip_primitives.h"
#include "edit/sequence_queries.h"

namespace brevelan {

std::optional<SourceEdit> threePointClips(const BrevSequence& seq, const MediaItem& media,
                                          const SourceEditMarks& marks) {
  if (marks.markIn && marks.markOut && *marks.markIn >= *marks.markOut) return std::nullopt;

  const std::optional<std::int64_t> limit = media.sourceLimit(seq.rate);
  const std::int64_t total = std::min(limit.value_or(MediaItem::stillLength(seq.rate)), kFrameBound);

  std::int64_t in = marks.sourceIn.value_or(0);
  std::int64_t length = marks.sourceOut ? *marks.sourceOut - in : total - in;
  // The In may not sit on the source's end: at least one frame must follow it.
  in = std::clamp<std::int64_t>(in, 0, std::max<std::int64_t>(total - 1, 0));
  length = std::clamp<std::int64_t>(length, 1, std::max<std::int64_t>(total - in, 1));

  std::int64_t at = marks.markIn.value_or(marks.playhead);
  if (marks.markIn && marks.markOut) {
    length = std::min(length, *marks.markOut - *marks.markIn);
  } else if (marks.markOut) {
    at = *marks.markOut - length;
  }
  at = std::max<std::int64_t>(at, 0);

  SourceEdit edit{at, in, length, {}};
  const bool picture = media.kind == MediaKind::image || media.hasVideo;
  const bool sound = media.kind != MediaKind::image && media.hasAudio;
  const auto make = [&] { return Clip::make(ClipSource::media(media.id), media.name, at, length, in, limit); };
  const TrackRef video{TrackKind::video, marks.targetVideo};
  const TrackRef audio{TrackKind::audio, marks.targetAudio};
  if (picture && valid(seq, video)) edit.items.push_back({video, make()});
  if (sound && valid(seq, audio)) edit.items.push_back({audio, make()});
  if (edit.items.size() == 2) {
    const Uuid link = Uuid::make();
    for (Placement& item : edit.items) item.clip.linkID = link;
  }
  return edit;
}

}  // namespace brevelan
