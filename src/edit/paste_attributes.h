#pragma once

#include <cstdint>
#include <vector>

#include "model/sequence.h"

namespace brevelan {

// Copies from `from` to each given clip exactly the setting groups named in
// `what` (PasteGroups flags): placement with its Ken Burns move, the colour
// grade, the sound settings, the speed and the transition at the head. A
// pasted speed works as a speed change does: the clip and its partners keep
// the source they show, change length, and later clips follow.
//   | A* | B |   paste A's grade to B  ->  | A* | B* |   (B's sound, speed and place untouched)
// Clips on locked tracks are left as they are. Returns whether any clip changed.
bool pasteAttributes(BrevSequence& seq, const Clip& from, const std::vector<Uuid>& to, std::uint32_t what);

}  // namespace brevelan
