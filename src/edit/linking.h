#pragma once

#include <vector>

#include "model/sequence.h"

namespace brevelan {

// Gives every given clip that exists one fresh link id, on whatever tracks
// they sit; they leave any group they were in. Other clips are untouched.
//   V1 | P |      A1 | S |   link P, S  ->  P and S move and cut together
void link(BrevSequence& seq, const std::vector<Uuid>& ids);

// Clears the link id of every given clip; the rest of their old group stays
// linked.
void unlink(BrevSequence& seq, const std::vector<Uuid>& ids);

}  // namespace brevelan
