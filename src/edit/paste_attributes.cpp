#include "edit/paste_attributes.h"

#include "edit/editor_state.h"
#include "edit/sequence_queries.h"
#include "edit/speed_change.h"

namespace brevelan {

bool pasteAttributes(BrevSequence& seq, const Clip& from, const std::vector<Uuid>& to, std::uint32_t what) {
  const BrevSequence before = seq;
  for (const Uuid& id : to) {
    const auto where = locate(seq, id);
    if (!where || trackAt(seq, where->track).locked) continue;
    const Clip& current = trackAt(seq, where->track).clips[where->index];
    Clip changed = current;
    if (what & PasteGroups::transform) changed.transform = from.transform;
    if (what & PasteGroups::grade) changed.grade = from.grade;
    if (what & PasteGroups::sound) changed.audio = from.audio;
    if (what & PasteGroups::transition) changed.transitionIn = from.transitionIn;
    const bool newSpeed = (what & PasteGroups::speed) && !(current.speed == from.speed);
    if (!(changed == current)) mutTrack(seq, where->track).clips.set(where->index, std::move(changed));
    if (newSpeed) setSpeed(seq, id, from.speed);
  }
  return !(seq == before);
}

}  // namespace brevelan
