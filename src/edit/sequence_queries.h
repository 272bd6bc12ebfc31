#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "model/sequence.h"

namespace brevelan {

// Read-only questions a sequence answers about itself, plus the one shared
// mutation every ripple needs (shiftClips). Every query is a linear walk: a
// sequence holds tens of tracks and hundreds of clips, so no index is kept.

// Where a clip lives: its track and its position in that track's clip list.
struct ClipLocation {
  TrackRef track;
  std::size_t index = 0;

  friend bool operator==(const ClipLocation&, const ClipLocation&) = default;
};

// One clip of a gathered group, named by id together with its track.
struct GroupMember {
  TrackRef track;
  Uuid id;

  friend bool operator==(const GroupMember&, const GroupMember&) = default;
};

// Two clips that follow each other on a track and touch: the only places a
// transition may sit.
struct CutPoint {
  Uuid left;
  Uuid right;

  friend bool operator==(const CutPoint&, const CutPoint&) = default;
};

// Every video track in index order, then every audio track.
std::vector<TrackRef> allRefs(const BrevSequence& seq);
// allRefs without locked tracks, order kept.
std::vector<TrackRef> unlockedRefs(const BrevSequence& seq);
// True when the ref names an existing track.
bool valid(const BrevSequence& seq, TrackRef ref);

// The track a valid ref names. mutTrack copies the track record (not its
// clips) if it is shared with another sequence.
const Track& trackAt(const BrevSequence& seq, TrackRef ref);
Track& mutTrack(BrevSequence& seq, TrackRef ref);

// The first clip with this id, walking allRefs and each track's clips in order.
std::optional<ClipLocation> locate(const BrevSequence& seq, const Uuid& id);
// A copy of the clip locate finds.
std::optional<Clip> clip(const BrevSequence& seq, const Uuid& id);
// The first clip of the track, in list order, that covers the frame.
std::optional<std::size_t> clipIndex(const BrevSequence& seq, std::int64_t at, TrackRef in);

// Every other clip sharing the clip's link id, in allRefs order; empty when
// the clip is missing or unlinked.
std::vector<Clip> partners(const BrevSequence& seq, const Uuid& of);
// Each given clip that exists, with its track; with `linked`, their partners
// too. Each clip appears once; given clips come first in the order given.
std::vector<GroupMember> group(const BrevSequence& seq, const std::vector<Uuid>& ids, bool linked);

// The touching right / left neighbour of `after` / `before` on a track.
std::optional<Clip> next(const BrevSequence& seq, const Clip& after, TrackRef on);
std::optional<Clip> prev(const BrevSequence& seq, const Clip& before, TrackRef on);
// The nearest obstacle on the right (smallest start at or after the clip's
// end) / on the left (largest end at or before its start), touching or not.
std::optional<std::int64_t> nextStart(const BrevSequence& seq, const Clip& after, TrackRef on);
std::optional<std::int64_t> prevEnd(const BrevSequence& seq, const Clip& before, TrackRef on);

// Touching neighbours in list order on one track.
std::vector<CutPoint> cutPoints(const BrevSequence& seq, TrackRef on);
// Frame 0 and every clip's start and end on every track (locked ones too),
// sorted, without repeats.
std::vector<std::int64_t> editPoints(const BrevSequence& seq);

// Moves every clip of the track that starts at or after `from` (and is not in
// `except`) by `by` frames, then re-sorts the track. Clips that start before
// `from` stay put even when they reach past it. Makes no overlap test: the
// caller picks `from` and `by` so that none arises.
//   | A |  | B | C |   shift from B's start by +5  ->  | A |       | B | C |
void shiftClips(BrevSequence& seq, TrackRef on, std::int64_t from, std::int64_t by,
                const std::vector<Uuid>& except = {});

}  // namespace brevelan
