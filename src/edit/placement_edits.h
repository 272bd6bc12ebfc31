#pragma once

#include <cstdint>
#include <vector>

#include "model/sequence.h"

namespace brevelan {

// Edits that put clips onto a sequence or take them off. Insert and extract
// open or close time on every unlocked track, so nothing slips out of sync;
// ripple delete closes up only the tracks of the deleted clips; overwrite,
// lift and move never move other clips, and cut away what they cover.
// Locked tracks are never written: clips on them stay, and an item aimed at
// one is left out. Each returns whether the sequence changed. Diagrams show
// one track unless they say otherwise.

// A clip to place and the track to place it on.
struct Placement {
  TrackRef track;
  Clip clip;

  friend bool operator==(const Placement&, const Placement&) = default;
};

// Empties frames a..b of one track, leaving a gap. Clips crossing a or b are
// cut there (their right pieces leave the old link group); what lies wholly
// inside goes.
//   | A | B | C |   clear 50–150  ->  | A'|   |B'| C |
// Nothing happens when a is not before b or the track is missing or locked.
bool clear(BrevSequence& seq, std::int64_t a, std::int64_t b, TrackRef on);

// Places each item at the frame on its own track, replacing what lies under
// it. Only the items' tracks are touched; the sequence keeps its length
// unless an item reaches past the end.
//   | A |   B   | C |   overwrite X (30) at 150  ->  | A | B |X|B'| C |
bool overwrite(BrevSequence& seq, const std::vector<Placement>& items, std::int64_t at);

// overwrite() with each item at its own clip start, all in one edit: items
// that land on one frame on several tracks are cut there together, so a
// linked picture and sound cut by the overwrite keep their pieces partners.
bool overwriteAtStarts(BrevSequence& seq, std::vector<Placement> items);

// Cuts every unlocked track at the frame and moves what follows later by the
// longest item's length, then places the items there. Tracks that receive
// nothing keep a gap, so they stay in sync; locked tracks do not move.
//   V1 | A |   B   |        insert X (30) at 150  ->  V1 | A | B |X|B'|
//   A1 | a |   b   |                                 A1 | a | b |  |b'|
// Nothing happens for items shorter than a frame or a frame before 0.
bool insert(BrevSequence& seq, const std::vector<Placement>& items, std::int64_t at);

// Where an append goes: the latest clip end on the given tracks (0 when they
// are empty). Missing tracks count as empty.
std::int64_t appendFrame(const BrevSequence& seq, const std::vector<TrackRef>& on);

// Removes the clips (with `linked`, their partners too); the gaps stay.
//   | A | B | C |   lift B  ->  | A |   | C |
bool lift(BrevSequence& seq, const std::vector<Uuid>& ids, bool linked);

// Removes the clips (with `linked`, their partners too) and closes each gap
// on the removed clip's own track. Other tracks do not move.
//   | A | B | C |   ripple delete B  ->  | A | C |
bool rippleDelete(BrevSequence& seq, const std::vector<Uuid>& ids, bool linked);

// clear() on each given track, with the cuts at a and b made across all of
// them at once so a cut picture and sound stay partners.
//   V1 | A | B |   A1 | a | b |   lift 50–150  ->  V1 |A|  |B'|   A1 |a|  |b'|
bool liftRange(BrevSequence& seq, std::int64_t a, std::int64_t b, const std::vector<TrackRef>& on);

// Removes frames a..b from every unlocked track and closes the gap there.
//   | A | B | C |   extract 50–150  ->  | A'|B'| C |   (everything after 150 is 100 earlier)
// Locked tracks keep their clips and their places.
bool extract(BrevSequence& seq, std::int64_t a, std::int64_t b);

// Closes the gap that holds the frame on one track by pulling everything
// after it back to the end of the clip before it (or to frame 0).
//   | A |   | C |   close gap at 120  ->  | A | C |
// Nothing happens when a clip covers the frame, nothing follows it, or the
// track is locked.
bool closeGap(BrevSequence& seq, std::int64_t at, TrackRef on);

// Takes the clips (with `linked`, their partners) off their tracks and
// overwrites them back `by` frames later, the given clips `trackOffset`
// tracks higher (negative: lower) on tracks of their own kind. Partners that
// were only brought along by `linked` keep their tracks. `by` is raised so no
// clip starts before frame 0, and the offset is held, per kind, to what keeps
// every moved clip on an existing track, as a drag stops at the top or
// bottom track. Refused when a moved clip sits, or would land, on a locked
// track.
//   | A |  B  |   | C |   move C by -30  ->  | A | B'| C |   |   (B loses its last frames)
bool move(BrevSequence& seq, const std::vector<Uuid>& ids, std::int64_t by, std::int64_t trackOffset, bool linked);

}  // namespace brevelan
