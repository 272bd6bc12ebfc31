#include "edit/clipboard.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

#include "edit/placement_edits.h"

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

void placeOverwriting(BrevSequence& sequence, const std::vector<ClipboardEntry>& entries, std::int64_t at) {
  std::vector<Placement> items;
  for (const ClipboardEntry& entry : entries) {
    items.push_back({entry.track, entry.clip});
    items.back().clip.start += at;
  }
  overwriteAtStarts(sequence, std::move(items));
}

}  // namespace brevelan
