#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "model/sequence.h"

namespace brevelan {

// The timeline's Blade, Ripple, Roll, Slip, Slide and Trim tools as edits of
// a sequence. None of them ever leaves two clips overlapping on a track, a
// clip shorter than one frame, or a clip asking for source frames that do not
// exist. Instead of refusing a drag that goes too far, each applies the
// largest part of it that every affected clip accepts and returns that amount
// (0, or false, when nothing was done; the sequence is then unchanged).
//
// With `linked`, the clip's partners (same link id) get the same change. A
// clip, partner or affected neighbour on a locked track refuses the edit.
// Diagrams show one track; A, B, C touch one another.

enum class TrimEdge { head, tail };

// The largest part of `asked` that `accepts` takes: `asked` itself, or else
// the amount found by halving between 0 and `asked`; 0 when not even that
// works. A one-frame request that is refused is not searched.
std::int64_t largestAccepted(std::int64_t asked, const std::function<bool(std::int64_t)>& accepts);

// Cuts the clip (and with `linked` its partners that span the frame) in two.
// The right pieces of a linked group get one fresh link id of their own.
//   | A | B | C |   blade B at its middle  ->  | A |B|B'| C |
// Frames at a clip's head or end cut nothing. False when nothing was cut.
bool blade(BrevSequence& seq, const Uuid& clip, std::int64_t at, bool linked);

// Cuts, on each given track, the clip that spans the frame; the right pieces
// of each linked group share one fresh link id. Callers pass unlockedRefs()
// for Blade All Tracks. Returns how many clips were cut.
std::int64_t blade(BrevSequence& seq, std::int64_t at, const std::vector<TrackRef>& on);

// Moves an edge and every later clip on the clip's track (and its partners'
// tracks) with it: no gap, no overlap. A head trim keeps the clip where it
// starts and moves its source in instead. Earlier clips stay untouched.
//   | A | B | C |   ripple B's tail by -20   ->  | A |B'| C |
//   | A | B | C |   ripple B's head by +10   ->  | A |B'| C |   (B' shows later source)
std::int64_t rippleTrim(BrevSequence& seq, const Uuid& clip, TrimEdge edge, std::int64_t by, bool linked);

// Moves the cut between the clip and its touching right neighbour: one gets
// longer by what the other loses. Nothing else moves. A partner without a
// touching right neighbour is left as it is; the clip itself must have one.
//   | A | B | C |   roll A|B by +10  ->  | A  |B| C |
std::int64_t roll(BrevSequence& seq, const Uuid& clip, std::int64_t by, bool linked);

// Shows an earlier or later part of the source in the same place and length.
// Colour and title clips accept any slip and are left as they are.
//   | A | B | C |   slip B by +7  ->  | A | B | C |   (B shows source 7 frames later)
std::int64_t slip(BrevSequence& seq, const Uuid& clip, std::int64_t by, bool linked);

// Moves the clip between its neighbours: a touching left neighbour gets
// longer, a touching right one loses its head. The track's length stays.
//   | A | B | C |   slide B by +15  ->  | A  | B |C|
std::int64_t slide(BrevSequence& seq, const Uuid& clip, std::int64_t by, bool linked);

// Moves one edge and nothing else: shortening leaves a gap, lengthening stops
// at the neighbour.
//   | A | B |   trim A's tail by -10  ->  |A|  | B |
std::int64_t trim(BrevSequence& seq, const Uuid& clip, TrimEdge edge, std::int64_t by, bool linked);

}  // namespace brevelan
