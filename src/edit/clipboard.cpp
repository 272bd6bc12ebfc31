#include "edit/clipboard.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

#include "edit/trim_tools.h"

namespace brevelan {

std::vector<ClipboardEntry> copyClips(const BrevSequence& sequence, const std::set<Uuid>& ids) {
  std::vector<ClipboardEntry> entries;
  for (TrackKind kind : {TrackKind::video, TrackKind::audio}) {
    const SharedList<Track>& tracks = sequence.tracks(kind);
    for (std::size_t t = 0; t < tracks.size(); ++t)
      for (const Clip& clip : tracks[t].clips)
        if (ids.contains(clip.id)) entries.push_back({TrackRef{kind, static_cast<std::int64_t>(t)}, clip});
  }
  std::int64_t earliest = std::numeric_limits<std::int64_t>::max();
  for (const ClipboardEntry& entry : entries) earliest = std::min(earliest, entry.clip.start);
  for (ClipboardEntry& entry : entries) entry.clip.start -= earliest;
  return entries;
}

std::vector<ClipboardEntry> withFreshIdentities(std::vector<ClipboardEntry> entries) {
  std::map<Uuid, Uuid> renewedLinks;
  for (ClipboardEntry& entry : entries) {
    entry.clip.id = Uuid::make();
    if (entry.clip.linkID) {
      auto [it, fresh] = renewedLinks.try_emplace(*entry.clip.linkID);
      if (fresh) it->second = Uuid::make();
      entry.clip.linkID = it->second;
    }
  }
  return entries;
}

namespace {

// Empties frames a..b of one track: the clips crossing either end are bladed
// there (right-hand pieces leave their link groups), what lies inside goes.
void clearRange(BrevSequence& sequence, TrackRef ref, std::int64_t a, std::int64_t b) {
  blade(sequence, a, {ref});
  blade(sequence, b, {ref});
  sequence.tracks(ref.kind).mut(static_cast<std::size_t>(ref.index)).clips.removeIf([&](const Clip& clip) {
    return clip.start >= a && clip.end() <= b;
  });
}

}  // namespace

void placeOverwriting(BrevSequence& sequence, const std::vector<ClipboardEntry>& entries, std::int64_t at) {
  for (const ClipboardEntry& entry : entries) {
    SharedList<Track>& tracks = sequence.tracks(entry.track.kind);
    if (entry.track.index < 0 || static_cast<std::size_t>(entry.track.index) >= tracks.size()) continue;
    Clip clip = entry.clip;
    clip.start = at + entry.clip.start;
    clearRange(sequence, entry.track, clip.start, clip.end());
    Track& track = tracks.mut(static_cast<std::size_t>(entry.track.index));
    track.clips.push_back(std::move(clip));
    track.clips.sortBy([](const Clip& x, const Clip& y) { return x.start < y.start; });
  }
}

}  // namespace brevelan
