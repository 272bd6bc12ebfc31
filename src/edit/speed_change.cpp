#include "edit/speed_change.h"

#include <algorithm>
#include <cmath>

#include "edit/clip_primitives.h"
#include "edit/sequence_queries.h"
#include "edit/trim_tools.h"
#include "model/rounding.h"

namespace brevelan {

namespace {

bool usable(const SpeedSettings& speed) {
  const bool rateOK = std::isfinite(speed.rate) && speed.rate > 0;
  return rateOK && (!speed.rampTo || (std::isfinite(*speed.rampTo) && *speed.rampTo > 0));
}

// The length that plays the same source frames at the new speed.
std::int64_t lengthAtNewSpeed(const Clip& old, const SpeedSettings& speed) {
  if (old.speed.freeze || speed.freeze) return old.duration;
  const double used = static_cast<double>(old.speed.consumed(old.duration));
  return std::clamp<std::int64_t>(roundHalfAway(used / speed.averageRate()), 1, kFrameBound);
}

}  // namespace

bool setSpeed(BrevSequence& seq, const Uuid& clip, const SpeedSettings& speed) {
  const auto where = locate(seq, clip);
  if (!where || !usable(speed)) return false;
  const std::vector<GroupMember> members = group(seq, {clip}, true);
  for (const GroupMember& m : members)
    if (trackAt(seq, m.track).locked) return false;

  BrevSequence work = seq;
  const Clip& old = trackAt(seq, where->track).clips[where->index];
  std::int64_t change = lengthAtNewSpeed(old, speed) - old.duration;
  for (const GroupMember& m : members) {
    const ClipLocation at = *locate(work, m.id);
    Clip& member = mutTrack(work, at.track).clips.mut(at.index);
    const std::int64_t sourceEnd = member.sourceIn + member.speed.consumed(member.duration);
    member.speed = speed;
    // Every member gets the same length change; none may outrun its source.
    std::int64_t longest = member.maxDuration();
    if (speed.reverse && !speed.freeze) {
      // A reversed clip plays back from the end of its used source, and the
      // tail ripple below keeps that end where it is: set sourceIn so that
      // the end is the one it had at the old speed.
      member.sourceIn = sourceEnd - speed.consumed(member.duration);
      const double left = static_cast<double>(std::max<std::int64_t>(sourceEnd, 0));
      const double fits = std::min(std::floor(left / speed.averageRate() + 1e-9), static_cast<double>(kFrameBound));
      longest = std::max<std::int64_t>(static_cast<std::int64_t>(fits), 1);
    }
    change = std::min(change, longest - member.duration);
  }
  rippleTrim(work, clip, TrimEdge::tail, change, true);

  for (const GroupMember& m : members)
    if (!usesExistingSource(*brevelan::clip(work, m.id))) return false;
  if (work == seq) return false;
  seq = std::move(work);
  return true;
}

}  // namespace brevelan
