#include "edit/trim_tools.h"

#include <algorithm>
#include <map>
#include <optional>

#include "edit/clip_primitives.h"
#include "edit/sequence_queries.h"

namespace brevelan {

namespace {

// Builds the edited copy for one amount, or nothing when a clip refuses it.
using Attempt = std::function<std::optional<BrevSequence>(std::int64_t)>;

const Clip& clipAt(const BrevSequence& seq, const ClipLocation& where) {
  return trackAt(seq, where.track).clips[where.index];
}

void put(BrevSequence& seq, const ClipLocation& where, Clip changed) {
  mutTrack(seq, where.track).clips.set(where.index, std::move(changed));
}

bool locked(const BrevSequence& seq, TrackRef ref) { return trackAt(seq, ref).locked; }

// allRefs order: video tracks first, each kind by index.
bool refBefore(TrackRef a, TrackRef b) {
  if (a.kind != b.kind) return a.kind == TrackKind::video;
  return a.index < b.index;
}

// The clip and, with `linked`, its partners; nothing when the clip does not
// exist or any of them sits on a locked track.
std::optional<std::vector<GroupMember>> gather(const BrevSequence& seq, const Uuid& id, bool linked) {
  std::vector<GroupMember> members = group(seq, {id}, linked);
  if (members.empty()) return std::nullopt;
  for (const GroupMember& m : members)
    if (locked(seq, m.track)) return std::nullopt;
  return members;
}

void sortTracks(BrevSequence& seq, const std::vector<GroupMember>& members) {
  for (const GroupMember& m : members)
    mutTrack(seq, m.track).clips.sortBy([](const Clip& a, const Clip& b) { return a.start < b.start; });
}

// Every track the edit wrote must still hold clips in order, from frame 0 on,
// at least a frame long and not overlapping. Tracks it did not write still
// share their clip list with `before` and are skipped.
bool tracksSound(const BrevSequence& before, const BrevSequence& after) {
  for (const TrackRef ref : allRefs(after)) {
    const SharedList<Clip>& clips = trackAt(after, ref).clips;
    if (valid(before, ref) && clips.sharesStorageWith(trackAt(before, ref).clips)) continue;
    std::int64_t reach = 0;
    for (const Clip& c : clips) {
      if (c.start < reach || c.duration < 1) return false;
      reach = c.end();
    }
  }
  return true;
}

// The clamp every tool shares: applies the largest acceptable part of `asked`.
std::int64_t applyClamped(BrevSequence& seq, std::int64_t asked, const Attempt& attempt) {
  std::optional<BrevSequence> accepted;
  std::int64_t acceptedAmount = 0;
  const auto accepts = [&](std::int64_t d) {
    if (d < -kFrameBound || d > kFrameBound) return false;
    std::optional<BrevSequence> result = attempt(d);
    if (!result || !tracksSound(seq, *result)) return false;
    accepted = std::move(result);
    acceptedAmount = d;
    return true;
  };
  const std::int64_t applied = largestAccepted(asked, accepts);
  if (applied == 0) return 0;
  if (acceptedAmount != applied) accepted = attempt(applied);
  seq = std::move(*accepted);
  return applied;
}

// Splits each target clip at the frame. The right pieces of one old link
// group share one fresh link id, so they are partners of each other only.
std::int64_t cutAll(BrevSequence& seq, std::int64_t at, const std::vector<GroupMember>& targets) {
  std::map<Uuid, Uuid> freshLinks;
  std::int64_t cut = 0;
  for (const GroupMember& target : targets) {
    const auto where = locate(seq, target.id);
    if (!where) continue;
    auto pieces = split(clipAt(seq, *where), at);
    if (!pieces) continue;
    if (pieces->right.linkID) {
      auto [it, added] = freshLinks.try_emplace(*pieces->right.linkID);
      if (added) it->second = Uuid::make();
      pieces->right.linkID = it->second;
    }
    SharedList<Clip>& clips = mutTrack(seq, where->track).clips;
    clips.set(where->index, std::move(pieces->left));
    clips.insert(where->index + 1, std::move(pieces->right));
    ++cut;
  }
  return cut;
}

}  // namespace

std::int64_t largestAccepted(std::int64_t asked, const std::function<bool(std::int64_t)>& accepts) {
  if (asked == 0) return 0;
  if (accepts(asked)) return asked;
  const std::int64_t sign = asked < 0 ? -1 : 1;
  // Unsigned so that the most negative request has a size too.
  const std::uint64_t size = asked < 0 ? 0 - static_cast<std::uint64_t>(asked) : static_cast<std::uint64_t>(asked);
  if (size < 2) return 0;
  std::uint64_t lo = 0;
  std::uint64_t hi = size;
  while (hi - lo > 1) {
    const std::uint64_t mid = lo + (hi - lo) / 2;
    if (accepts(sign * static_cast<std::int64_t>(mid))) {
      lo = mid;
    } else {
      hi = mid;
    }
  }
  return sign * static_cast<std::int64_t>(lo);
}

bool blade(BrevSequence& seq, const Uuid& clip, std::int64_t at, bool linked) {
  const auto where = locate(seq, clip);
  if (!where || locked(seq, where->track)) return false;
  const Clip& clicked = clipAt(seq, *where);
  if (!(clicked.start < at && at < clicked.end())) return false;

  // Only the clip and its own partners are cut, never another clip that
  // happens to lie under the frame on a partner's track.
  std::vector<GroupMember> targets;
  for (const GroupMember& m : group(seq, {clip}, linked)) {
    const Clip& c = clipAt(seq, *locate(seq, m.id));
    if (!locked(seq, m.track) && c.start < at && at < c.end()) targets.push_back(m);
  }
  std::stable_sort(targets.begin(), targets.end(),
                   [](const GroupMember& a, const GroupMember& b) { return refBefore(a.track, b.track); });
  return cutAll(seq, at, targets) > 0;
}

std::int64_t blade(BrevSequence& seq, std::int64_t at, const std::vector<TrackRef>& on) {
  std::vector<GroupMember> targets;
  std::vector<TrackRef> seen;
  for (const TrackRef ref : on) {
    if (!valid(seq, ref) || std::find(seen.begin(), seen.end(), ref) != seen.end()) continue;
    seen.push_back(ref);
    const auto index = clipIndex(seq, at, ref);
    if (!index) continue;
    const Clip& c = trackAt(seq, ref).clips[*index];
    if (c.start < at) targets.push_back({ref, c.id});
  }
  return cutAll(seq, at, targets);
}

std::int64_t rippleTrim(BrevSequence& seq, const Uuid& clip, TrimEdge edge, std::int64_t by, bool linked) {
  const auto members = gather(seq, clip, linked);
  if (!members || by == 0) return 0;
  // Latest clip first: when two gathered clips share a track, the earlier
  // one's ripple then carries the later one along instead of squeezing it.
  std::vector<std::pair<std::int64_t, GroupMember>> order;
  for (const GroupMember& m : *members) order.emplace_back(brevelan::clip(seq, m.id)->start, m);
  std::stable_sort(order.begin(), order.end(), [](const auto& a, const auto& b) { return a.first > b.first; });

  return applyClamped(seq, by, [&](std::int64_t d) -> std::optional<BrevSequence> {
    BrevSequence work = seq;
    for (const auto& [start, m] : order) {
      const ClipLocation where = *locate(work, m.id);
      const Clip& c = clipAt(work, where);
      const std::int64_t oldEnd = c.end();
      std::optional<Clip> changed = edge == TrimEdge::tail ? withLength(c, c.duration + d) : movedHead(c, d);
      if (!changed) return std::nullopt;
      changed->start = c.start;
      const std::int64_t endMoved = changed->end() - oldEnd;
      put(work, where, std::move(*changed));
      shiftClips(work, where.track, oldEnd, endMoved, {m.id});
    }
    return work;
  });
}

std::int64_t roll(BrevSequence& seq, const Uuid& clip, std::int64_t by, bool linked) {
  const auto members = gather(seq, clip, linked);
  if (!members || by == 0) return 0;
  struct Cut {
    Uuid left;
    Uuid right;
  };
  std::vector<Cut> cuts;
  for (const GroupMember& m : *members) {
    const auto right = next(seq, *brevelan::clip(seq, m.id), m.track);
    if (right) {
      cuts.push_back({m.id, right->id});
    } else if (m.id == clip) {
      return 0;  // no cut to roll
    }
  }

  return applyClamped(seq, by, [&](std::int64_t d) -> std::optional<BrevSequence> {
    BrevSequence work = seq;
    for (const Cut& cut : cuts) {
      const ClipLocation leftAt = *locate(work, cut.left);
      const ClipLocation rightAt = *locate(work, cut.right);
      const Clip& left = clipAt(work, leftAt);
      auto longer = withLength(left, left.duration + d);
      auto shorter = movedHead(clipAt(work, rightAt), d);
      if (!longer || !shorter) return std::nullopt;
      put(work, leftAt, std::move(*longer));
      put(work, rightAt, std::move(*shorter));
    }
    return work;
  });
}

std::int64_t slip(BrevSequence& seq, const Uuid& clip, std::int64_t by, bool linked) {
  const auto members = gather(seq, clip, linked);
  if (!members || by == 0) return 0;

  return applyClamped(seq, by, [&](std::int64_t d) -> std::optional<BrevSequence> {
    BrevSequence work = seq;
    for (const GroupMember& m : *members) {
      const ClipLocation where = *locate(work, m.id);
      const Clip& c = clipAt(work, where);
      // A generated picture has no source position to move.
      if (!hasSourceFrames(c)) continue;
      const std::int64_t in = c.sourceIn + d;
      if (in < 0 || (c.sourceLimit && in + c.speed.consumed(c.duration) > *c.sourceLimit)) return std::nullopt;
      mutTrack(work, where.track).clips.mut(where.index).sourceIn = in;
    }
    return work;
  });
}

std::int64_t slide(BrevSequence& seq, const Uuid& clip, std::int64_t by, bool linked) {
  const auto members = gather(seq, clip, linked);
  if (!members || by == 0) return 0;
  const auto gathered = [&](const Uuid& id) {
    return std::any_of(members->begin(), members->end(), [&](const GroupMember& m) { return m.id == id; });
  };

  // What stands on either side of each sliding clip. A gathered neighbour
  // slides along and neither gives nor takes frames.
  struct Sides {
    std::optional<Uuid> leftTouch, rightTouch;
    std::optional<std::int64_t> leftLimit, rightLimit;
  };
  std::vector<Sides> sides;
  for (const GroupMember& m : *members) {
    const Clip moving = *brevelan::clip(seq, m.id);
    Sides s;
    for (const Clip& other : trackAt(seq, m.track).clips) {
      if (other.id == m.id) continue;
      const bool along = gathered(other.id);
      if (other.end() == moving.start) {
        if (!along) s.leftTouch = other.id;
      } else if (other.start == moving.end()) {
        if (!along) s.rightTouch = other.id;
      } else if (!along && other.end() < moving.start) {
        s.leftLimit = std::max(s.leftLimit.value_or(other.end()), other.end());
      } else if (!along && other.start > moving.end()) {
        s.rightLimit = std::min(s.rightLimit.value_or(other.start), other.start);
      }
    }
    sides.push_back(s);
  }

  return applyClamped(seq, by, [&](std::int64_t d) -> std::optional<BrevSequence> {
    BrevSequence work = seq;
    for (std::size_t i = 0; i < members->size(); ++i) {
      const Sides& s = sides[i];
      const ClipLocation where = *locate(work, (*members)[i].id);
      const Clip& c = clipAt(work, where);
      if (c.start + d < 0) return std::nullopt;
      if (!s.leftTouch && s.leftLimit && c.start + d < *s.leftLimit) return std::nullopt;
      if (!s.rightTouch && s.rightLimit && c.end() + d > *s.rightLimit) return std::nullopt;
      mutTrack(work, where.track).clips.mut(where.index).start += d;
      if (s.leftTouch) {
        const ClipLocation at = *locate(work, *s.leftTouch);
        auto grown = withLength(clipAt(work, at), clipAt(work, at).duration + d);
        if (!grown) return std::nullopt;
        put(work, at, std::move(*grown));
      }
      if (s.rightTouch) {
        const ClipLocation at = *locate(work, *s.rightTouch);
        auto moved = movedHead(clipAt(work, at), d);
        if (!moved) return std::nullopt;
        put(work, at, std::move(*moved));
      }
    }
    sortTracks(work, *members);
    return work;
  });
}

std::int64_t trim(BrevSequence& seq, const Uuid& clip, TrimEdge edge, std::int64_t by, bool linked) {
  const auto members = gather(seq, clip, linked);
  if (!members || by == 0) return 0;

  return applyClamped(seq, by, [&](std::int64_t d) -> std::optional<BrevSequence> {
    BrevSequence work = seq;
    for (const GroupMember& m : *members) {
      // A head trim changes only starts and a tail trim only ends, so the
      // obstacles read from the unedited sequence hold for every clip.
      const Clip& c = clipAt(seq, *locate(seq, m.id));
      std::optional<Clip> changed;
      if (edge == TrimEdge::head) {
        changed = movedHead(c, d);
        const auto limit = prevEnd(seq, c, m.track);
        if (!changed || (limit && changed->start < *limit)) return std::nullopt;
      } else {
        changed = withLength(c, c.duration + d);
        const auto limit = nextStart(seq, c, m.track);
        if (!changed || (limit && changed->end() > *limit)) return std::nullopt;
      }
      put(work, *locate(work, m.id), std::move(*changed));
    }
    sortTracks(work, *members);
    return work;
  });
}

}  // namespace brevelan
