#pragma once

#include <vector>

#include "model/project.h"
#include "sound/mixer.h"

namespace brevelan {

// The beats of one sound clip as it plays in its sequence (gain, fades, speed
// and effects included), in seconds from the clip's start; at most four a
// second. Nothing when the clip is not on an audio track of `seq`.
std::vector<double> clipBeats(const Mixer& mixer, const BrevSequence& seq, const Uuid& clip);

}  // namespace brevelan
