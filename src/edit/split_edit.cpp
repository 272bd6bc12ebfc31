#include "edit/split_edit.h"

#include "edit/sequence_queries.h"
#include "edit/trim_tools.h"

namespace brevelan {

bool splitEdit(BrevSequence& seq, const Uuid& atHeadOf, std::int64_t frames, bool jCut) {
  bool rolled = false;
  for (const Clip& sound : partners(seq, atHeadOf)) {
    const TrackRef track = locate(seq, sound.id)->track;
    if (track.kind != TrackKind::audio) continue;
    const auto before = prev(seq, sound, track);
    if (before && roll(seq, before->id, jCut ? -frames : frames, false) != 0) rolled = true;
  }
  return rolled;
}

}  // namespace brevelan
