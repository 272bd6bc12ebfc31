#pragma once

#include <cstdint>

#include "model/sequence.h"

namespace brevelan {

// How far the menu commands split picture and sound, whatever the frame rate.
inline constexpr std::int64_t kSplitEditFrames = 15;

// Makes the sound cut before a picture clip run ahead of the picture cut
// (J-cut) or behind it (L-cut), by rolling the cut between each of the
// clip's sound partners and the sound touching it on the left. Pictures do
// not move; the roll's own limits may give a shorter split.
//   V1 |  A   |  B   |      J-cut:  A1 |  a |  b     |   (b is heard before B is seen)
//   A1 |  a   |  b   |      L-cut:  A1 |  a     | b  |   (a runs on under B)
// False (nothing changed) when no partner has sound touching on its left.
bool splitEdit(BrevSequence& seq, const Uuid& atHeadOf, std::int64_t frames, bool jCut);

}  // namespace brevelan
