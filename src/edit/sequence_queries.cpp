#include "edit/sequence_queries.h"

#include <algorithm>
#include <set>

namespace brevelan {

namespace {

std::size_t slot(TrackRef ref) { return static_cast<std::size_t>(ref.index); }

// Calls visit(ref, clip) for every clip, allRefs order, list order inside a track.
template <class Visit>
void forEachClip(const BrevSequence& seq, Visit visit) {
  for (const TrackRef ref : allRefs(seq))
    for (const Clip& c : trackAt(seq, ref).clips) visit(ref, c);
}

}  // namespace

std::vector<TrackRef> allRefs(const BrevSequence& seq) {
  std::vector<TrackRef> refs;
  refs.reserve(seq.video.size() + seq.audio.size());
  for (std::size_t i = 0; i < seq.video.size(); ++i)
    refs.push_back({TrackKind::video, static_cast<std::int64_t>(i)});
  for (std::size_t i = 0; i < seq.audio.size(); ++i)
    refs.push_back({TrackKind::audio, static_cast<std::int64_t>(i)});
  return refs;
}

std::vector<TrackRef> unlockedRefs(const BrevSequence& seq) {
  std::vector<TrackRef> refs = allRefs(seq);
  std::erase_if(refs, [&](TrackRef ref) { return trackAt(seq, ref).locked; });
  return refs;
}

bool valid(const BrevSequence& seq, TrackRef ref) {
  return ref.index >= 0 && slot(ref) < seq.tracks(ref.kind).size();
}

const Track& trackAt(const BrevSequence& seq, TrackRef ref) { return seq.tracks(ref.kind)[slot(ref)]; }

Track& mutTrack(BrevSequence& seq, TrackRef ref) { return seq.tracks(ref.kind).mut(slot(ref)); }

std::optional<ClipLocation> locate(const BrevSequence& seq, const Uuid& id) {
  for (const TrackRef ref : allRefs(seq)) {
    const SharedList<Clip>& clips = trackAt(seq, ref).clips;
    for (std::size_t i = 0; i < clips.size(); ++i)
      if (clips[i].id == id) return ClipLocation{ref, i};
  }
  return std::nullopt;
}

std::optional<Clip> clip(const BrevSequence& seq, const Uuid& id) {
  const auto where = locate(seq, id);
  if (!where) return std::nullopt;
  return trackAt(seq, where->track).clips[where->index];
}

std::optional<std::size_t> clipIndex(const BrevSequence& seq, std::int64_t at, TrackRef in) {
  const SharedList<Clip>& clips = trackAt(seq, in).clips;
  for (std::size_t i = 0; i < clips.size(); ++i)
    if (clips[i].covers(at)) return i;
  return std::nullopt;
}

std::vector<Clip> partners(const BrevSequence& seq, const Uuid& of) {
  std::vector<Clip> found;
  const auto self = clip(seq, of);
  if (!self || !self->linkID) return found;
  forEachClip(seq, [&](TrackRef, const Clip& c) {
    if (c.linkID == self->linkID && c.id != self->id) found.push_back(c);
  });
  return found;
}

std::vector<GroupMember> group(const BrevSequence& seq, const std::vector<Uuid>& ids, bool linked) {
  std::vector<GroupMember> members;
  std::set<Uuid> seen;
  std::set<Uuid> links;
  for (const Uuid& id : ids) {
    const auto where = locate(seq, id);
    if (!where || !seen.insert(id).second) continue;
    members.push_back({where->track, id});
    const auto& linkID = trackAt(seq, where->track).clips[where->index].linkID;
    if (linked && linkID) links.insert(*linkID);
  }
  if (links.empty()) return members;
  forEachClip(seq, [&](TrackRef ref, const Clip& c) {
    if (c.linkID && links.contains(*c.linkID) && seen.insert(c.id).second) members.push_back({ref, c.id});
  });
  return members;
}

std::optional<Clip> next(const BrevSequence& seq, const Clip& after, TrackRef on) {
  for (const Clip& c : trackAt(seq, on).clips)
    if (c.id != after.id && c.start == after.end()) return c;
  return std::nullopt;
}

std::optional<Clip> prev(const BrevSequence& seq, const Clip& before, TrackRef on) {
  for (const Clip& c : trackAt(seq, on).clips)
    if (c.id != before.id && c.end() == before.start) return c;
  return std::nullopt;
}

std::optional<std::int64_t> nextStart(const BrevSequence& seq, const Clip& after, TrackRef on) {
  std::optional<std::int64_t> best;
  for (const Clip& c : trackAt(seq, on).clips)
    if (c.id != after.id && c.start >= after.end() && (!best || c.start < *best)) best = c.start;
  return best;
}

std::optional<std::int64_t> prevEnd(const BrevSequence& seq, const Clip& before, TrackRef on) {
  std::optional<std::int64_t> best;
  for (const Clip& c : trackAt(seq, on).clips)
    if (c.id != before.id && c.end() <= before.start && (!best || c.end() > *best)) best = c.end();
  return best;
}

std::vector<CutPoint> cutPoints(const BrevSequence& seq, TrackRef on) {
  std::vector<CutPoint> cuts;
  const SharedList<Clip>& clips = trackAt(seq, on).clips;
  for (std::size_t i = 1; i < clips.size(); ++i)
    if (clips[i - 1].end() == clips[i].start) cuts.push_back({clips[i - 1].id, clips[i].id});
  return cuts;
}

std::vector<std::int64_t> editPoints(const BrevSequence& seq) {
  std::set<std::int64_t> points{0};
  forEachClip(seq, [&](TrackRef, const Clip& c) {
    points.insert(c.start);
    points.insert(c.end());
  });
  return {points.begin(), points.end()};
}

void shiftClips(BrevSequence& seq, TrackRef on, std::int64_t from, std::int64_t by, const std::vector<Uuid>& except) {
  if (by == 0) return;
  const SharedList<Clip>& clips = trackAt(seq, on).clips;
  std::vector<std::size_t> moving;
  for (std::size_t i = 0; i < clips.size(); ++i)
    if (clips[i].start >= from && std::find(except.begin(), except.end(), clips[i].id) == except.end())
      moving.push_back(i);
  if (moving.empty()) return;
  // Only the moved clips are written, so the rest stay shared with undo snapshots.
  SharedList<Clip>& owned = mutTrack(seq, on).clips;
  for (const std::size_t i : moving) owned.mut(i).start += by;
  owned.sortBy([](const Clip& a, const Clip& b) { return a.start < b.start; });
}

}  // namespace brevelan
