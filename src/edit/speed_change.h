#pragma once

#include "model/sequence.h"

namespace brevelan {

// Gives the clip and, always, its partners new speed settings, so picture
// and sound keep one speed. The clip's length becomes the one that plays the
// same source frames at the new speed (unchanged when either speed is a
// freeze), capped so that no clip of the group runs past its source; the
// change is applied as a linked ripple of the tail, so later clips on the
// group's tracks follow. Forward clips keep their source in; reversed ones
// keep the end of their used source, as a reversed tail trim does.
//   | A | B | C |   B to 200 %  ->  | A |B| C |
// Earlier clips and other tracks are untouched. Refused (false, nothing
// changed) for a missing clip, a speed that is not above 0, a group member on
// a locked track, or when the group's lengths cannot all be made to fit their
// sources. True when anything changed.
bool setSpeed(BrevSequence& seq, const Uuid& clip, const SpeedSettings& speed);

}  // namespace brevelan
