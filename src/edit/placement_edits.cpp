#include "edit/placement_edits.h"

#include <algorithm>
#include <limits>
#include <map>

#include "edit/sequence_queries.h"
#include "edit/trim_tools.h"

namespace brevelan {

namespace {

bool writable(const BrevSequence& seq, TrackRef ref) { return valid(seq, ref) && !trackAt(seq, ref).locked; }

void sortTrack(BrevSequence& seq, TrackRef ref) {
  mutTrack(seq, ref).clips.sortBy([](const Clip& x, const Clip& y) { return x.start < y.start; });
}

void place(BrevSequence& seq, TrackRef ref, Clip clip) {
  mutTrack(seq, ref).clips.push_back(std::move(clip));
  sortTrack(seq, ref);
}

// Cuts the tracks at a and at b (each frame across all of them at once, so
// the right pieces of one link group stay partners) and removes what lies
// wholly between.
bool cutOut(BrevSequence& seq, std::int64_t a, std::int64_t b, const std::vector<TrackRef>& on) {
  if (!(a < b)) return false;
  std::vector<TrackRef> refs;
  for (const TrackRef ref : on)
    if (writable(seq, ref) && std::find(refs.begin(), refs.end(), ref) == refs.end()) refs.push_back(ref);
  if (refs.empty()) return false;
  bool changed = blade(seq, a, refs) > 0;
  changed = blade(seq, b, refs) > 0 || changed;
  for (const TrackRef ref : refs) {
    const auto inside = [&](const Clip& c) { return c.start >= a && c.end() <= b; };
    const SharedList<Clip>& clips = trackAt(seq, ref).clips;
    if (std::any_of(clips.begin(), clips.end(), inside)) changed = mutTrack(seq, ref).clips.removeIf(inside) > 0 || changed;
  }
  return changed;
}

// Takes one clip off its track and returns it.
Clip takeOff(BrevSequence& seq, const GroupMember& member) {
  const ClipLocation where = *locate(seq, member.id);
  Clip taken = trackAt(seq, where.track).clips[where.index];
  mutTrack(seq, where.track).clips.erase(where.index);
  return taken;
}

// The members that may be edited: those on unlocked tracks.
std::vector<GroupMember> editable(const BrevSequence& seq, const std::vector<Uuid>& ids, bool linked) {
  std::vector<GroupMember> members = group(seq, ids, linked);
  std::erase_if(members, [&](const GroupMember& m) { return trackAt(seq, m.track).locked; });
  return members;
}

}  // namespace

bool clear(BrevSequence& seq, std::int64_t a, std::int64_t b, TrackRef on) { return cutOut(seq, a, b, {on}); }

bool overwrite(BrevSequence& seq, const std::vector<Placement>& items, std::int64_t at) {
  std::vector<Placement> placed = items;
  for (Placement& item : placed) item.clip.start = at;
  return overwriteAtStarts(seq, std::move(placed));
}

bool overwriteAtStarts(BrevSequence& seq, std::vector<Placement> items) {
  std::erase_if(items, [&](const Placement& item) {
    return item.clip.duration < 1 || item.clip.start < 0 || !writable(seq, item.track);
  });
  if (items.empty()) return false;
  // One blade call per frame, across every track cut there, so that a cut
  // picture and sound keep their right-hand pieces partners.
  std::map<std::int64_t, std::vector<TrackRef>> cuts;
  for (const Placement& item : items) {
    cuts[item.clip.start].push_back(item.track);
    cuts[item.clip.end()].push_back(item.track);
  }
  for (const auto& [frame, refs] : cuts) blade(seq, frame, refs);
  for (const Placement& item : items) {
    const std::int64_t a = item.clip.start;
    const std::int64_t b = item.clip.end();
    mutTrack(seq, item.track).clips.removeIf([&](const Clip& c) { return c.start >= a && c.end() <= b; });
    place(seq, item.track, item.clip);
  }
  return true;
}

bool insert(BrevSequence& seq, const std::vector<Placement>& items, std::int64_t at) {
  std::int64_t room = 0;
  for (const Placement& item : items)
    if (writable(seq, item.track)) room = std::max(room, item.clip.duration);
  if (room < 1 || at < 0) return false;

  const std::vector<TrackRef> open = unlockedRefs(seq);
  blade(seq, at, open);
  for (const TrackRef ref : open) shiftClips(seq, ref, at, room);
  for (const Placement& item : items) {
    if (item.clip.duration < 1 || !writable(seq, item.track)) continue;
    Clip clip = item.clip;
    clip.start = at;
    place(seq, item.track, std::move(clip));
  }
  return true;
}

std::int64_t appendFrame(const BrevSequence& seq, const std::vector<TrackRef>& on) {
  std::int64_t end = 0;
  for (const TrackRef ref : on)
    if (valid(seq, ref))
      for (const Clip& c : trackAt(seq, ref).clips) end = std::max(end, c.end());
  return end;
}

bool lift(BrevSequence& seq, const std::vector<Uuid>& ids, bool linked) {
  const std::vector<GroupMember> members = editable(seq, ids, linked);
  for (const GroupMember& m : members) takeOff(seq, m);
  return !members.empty();
}

bool rippleDelete(BrevSequence& seq, const std::vector<Uuid>& ids, bool linked) {
  std::vector<std::pair<Clip, TrackRef>> removed;
  for (const GroupMember& m : editable(seq, ids, linked)) removed.emplace_back(*clip(seq, m.id), m.track);
  // Latest first: each close-up then moves only clips that stay.
  std::stable_sort(removed.begin(), removed.end(),
                   [](const auto& x, const auto& y) { return x.first.start > y.first.start; });
  for (const auto& [gone, ref] : removed) {
    takeOff(seq, {ref, gone.id});
    shiftClips(seq, ref, gone.end(), -gone.duration);
  }
  return !removed.empty();
}

bool liftRange(BrevSequence& seq, std::int64_t a, std::int64_t b, const std::vector<TrackRef>& on) {
  return cutOut(seq, a, b, on);
}

bool extract(BrevSequence& seq, std::int64_t a, std::int64_t b) {
  if (!(a < b)) return false;
  const std::vector<TrackRef> open = unlockedRefs(seq);
  const BrevSequence before = seq;
  cutOut(seq, a, b, open);
  for (const TrackRef ref : open) shiftClips(seq, ref, b, -(b - a));
  return !(seq == before);
}

bool closeGap(BrevSequence& seq, std::int64_t at, TrackRef on) {
  if (!writable(seq, on)) return false;
  std::int64_t gapStart = 0;
  std::optional<std::int64_t> gapEnd;
  for (const Clip& c : trackAt(seq, on).clips) {
    if (c.covers(at)) return false;
    if (c.end() <= at) gapStart = std::max(gapStart, c.end());
    if (c.start > at && (!gapEnd || c.start < *gapEnd)) gapEnd = c.start;
  }
  if (!gapEnd) return false;
  shiftClips(seq, on, *gapEnd, -(*gapEnd - gapStart));
  return *gapEnd > gapStart;
}

bool move(BrevSequence& seq, const std::vector<Uuid>& ids, std::int64_t by, std::int64_t trackOffset, bool linked) {
  const std::vector<GroupMember> members = group(seq, ids, linked);
  if (members.empty()) return false;
  const auto given = [&](const Uuid& id) { return std::find(ids.begin(), ids.end(), id) != ids.end(); };

  // Hold the offset per kind so the given clips' highest and lowest tracks
  // both still exist, and the move in time so nothing starts before 0.
  std::map<TrackKind, std::int64_t> offsets;
  for (const TrackKind kind : {TrackKind::video, TrackKind::audio}) {
    std::int64_t lowest = std::numeric_limits<std::int64_t>::max();
    std::int64_t highest = -1;
    for (const GroupMember& m : members)
      if (m.track.kind == kind && given(m.id)) {
        lowest = std::min(lowest, m.track.index);
        highest = std::max(highest, m.track.index);
      }
    const auto count = static_cast<std::int64_t>(seq.tracks(kind).size());
    offsets[kind] = highest < 0 ? 0 : std::clamp(trackOffset, -lowest, count - 1 - highest);
  }
  std::int64_t earliest = std::numeric_limits<std::int64_t>::max();
  for (const GroupMember& m : members) earliest = std::min(earliest, clip(seq, m.id)->start);
  by = std::max(by, -earliest);

  std::vector<Placement> landing;
  for (const GroupMember& m : members) {
    TrackRef to = m.track;
    if (given(m.id)) to.index += offsets[m.track.kind];
    if (trackAt(seq, m.track).locked || trackAt(seq, to).locked) return false;
    landing.push_back({to, *clip(seq, m.id)});
  }
  if (by == 0 && std::all_of(members.begin(), members.end(), [&](const GroupMember& m) {
        return !given(m.id) || offsets[m.track.kind] == 0;
      }))
    return false;

  for (const GroupMember& m : members) takeOff(seq, m);
  for (Placement& item : landing) item.clip.start += by;
  return overwriteAtStarts(seq, std::move(landing));
}

}  // namespace brevelan
