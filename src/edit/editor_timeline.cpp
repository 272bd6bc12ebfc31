#include <algorithm>
#include <set>

#include "edit/editor_model.h"
#include "edit/placement_edits.h"
#include "edit/sequence_queries.h"
#include "edit/three_point.h"

// Edits the timeline widget makes directly: the track header switches and
// media dropped from the bin.
namespace brevelan {

namespace {

// The same-numbered track of a kind, or its last track; -1 when it has none.
std::int64_t matchingIndex(const BrevSequence& seq, TrackKind kind, std::int64_t index) {
  const auto count = static_cast<std::int64_t>(seq.tracks(kind).size());
  if (count == 0) return -1;
  return std::clamp<std::int64_t>(index, 0, count - 1);
}

}  // namespace

bool EditorModel::setTrackMuted(TrackRef track, bool on) {
  return editSeq("Mute", false, false, [&](BrevSequence& seq) {
    if (valid(seq, track)) mutTrack(seq, track).muted = on;
  });
}

bool EditorModel::setTrackSolo(TrackRef track, bool on) {
  return editSeq("Solo", false, false, [&](BrevSequence& seq) {
    if (valid(seq, track)) mutTrack(seq, track).solo = on;
  });
}

bool EditorModel::setTrackLocked(TrackRef track, bool on) {
  return editSeq("Lock", false, true, [&](BrevSequence& seq) {
    if (valid(seq, track)) mutTrack(seq, track).locked = on;
  });
}

bool EditorModel::dropMedia(const std::vector<Uuid>& items, TrackRef track, std::int64_t frame) {
  const BrevSequence* current = activeSequence();
  if (!current || !valid(*current, track)) return false;
  const bool onVideo = track.kind == TrackKind::video;
  SourceEditMarks marks;
  marks.targetVideo = onVideo ? track.index : matchingIndex(*current, TrackKind::video, track.index);
  marks.targetAudio = onVideo ? matchingIndex(*current, TrackKind::audio, track.index) : track.index;

  // Every item is worked out against the sequence before the drop, whole,
  // each starting where the one before ends.
  std::vector<Placement> placed;
  std::int64_t at = std::max<std::int64_t>(frame, 0);
  for (const Uuid& id : items) {
    const MediaItem* media = project().mediaItem(id);
    if (!media) continue;
    marks.playhead = at;
    const std::optional<SourceEdit> planned = brevelan::threePointClips(*current, *media, marks);
    if (!planned || planned->items.empty()) continue;
    for (const Placement& item : planned->items) placed.push_back(item);
    at = planned->at + planned->length;
  }
  if (placed.empty()) return false;

  const bool changed = editSeq("Overwrite", false, true, [&](BrevSequence& seq) { overwriteAtStarts(seq, placed); });
  if (changed) {
    std::set<Uuid> added;
    const BrevSequence* after = activeSequence();
    for (const Placement& item : placed)
      if (locate(*after, item.clip.id)) added.insert(item.clip.id);
    setSelection(std::move(added));
  }
  return changed;
}

}  // namespace brevelan
