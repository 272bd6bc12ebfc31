#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include "model/clip.h"
#include "model/sequence.h"
#include "model/track.h"
#include "model/uuid.h"

namespace brevelan {

// A copied clip and the track it came from; `clip.start` counts from the
// earliest start among the clips copied together.
struct ClipboardEntry {
  TrackRef track;
  Clip clip;

  friend bool operator==(const ClipboardEntry&, const ClipboardEntry&) = default;
};

// The given clips of the sequence, in track order (video tracks, then audio),
// with their starts made relative to the earliest of them.
std::vector<ClipboardEntry> copyClips(const BrevSequence& sequence, const std::set<Uuid>& ids);

// The entries with fresh clip ids and fresh link ids: clips linked to each
// other stay linked to each other, never to the clips they were copied from.
std::vector<ClipboardEntry> withFreshIdentities(std::vector<ClipboardEntry> entries);

// Places each entry at `at` plus its relative start on the track of the same
// kind and index, replacing what lies there; nothing else moves. Entries whose
// track does not exist or is locked are left out.
void placeOverwriting(BrevSequence& sequence, const std::vector<ClipboardEntry>& entries, std::int64_t at);

}  // namespace brevelan
