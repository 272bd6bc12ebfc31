#include "edit/nesting.h"

#include <algorithm>
#include <limits>
#include <set>

#include "edit/sequence_queries.h"

namespace brevelan {

namespace {

// Beyond this many levels a chain of nests counts as no loop.
constexpr int kDeepestSearch = 15;

bool holdsSound(const BrevSequence& seq) {
  return std::any_of(seq.audio.begin(), seq.audio.end(), [](const Track& t) { return !t.clips.empty(); });
}

// A picture clip on `video` and, with `sound`, a linked sound clip on `audio`,
// each showing the whole of the nested sequence; missing tracks get none.
std::vector<Placement> nestClips(const BrevSequence& into, const BrevSequence& nested, std::int64_t length,
                                 TrackRef video, std::optional<TrackRef> audio) {
  std::vector<Placement> items;
  const auto make = [&] { return Clip::make(ClipSource::nested(nested.id), nested.name, 0, length, 0, length); };
  if (valid(into, video)) items.push_back({video, make()});
  if (audio && valid(into, *audio)) items.push_back({*audio, make()});
  if (items.size() == 2) {
    const Uuid link = Uuid::make();
    for (Placement& item : items) item.clip.linkID = link;
  }
  return items;
}

}  // namespace

bool nests(const Project& project, const Uuid& outer, const Uuid& inner, int depth) {
  if (outer == inner) return true;
  if (depth > kDeepestSearch) return false;
  const BrevSequence* seq = project.sequence(outer);
  if (!seq) return false;
  std::set<Uuid> asked;
  for (const TrackRef ref : allRefs(*seq))
    for (const Clip& c : trackAt(*seq, ref).clips)
      if (const Uuid* nested = c.source.nestedID(); nested && asked.insert(*nested).second)
        if (nests(project, *nested, inner, depth + 1)) return true;
  return false;
}

std::string nextNestName(const Project& project) {
  std::string name = "Nested ";
  name += std::to_string(project.sequences.size() + 1);
  return name;
}

std::optional<Uuid> nest(Project& project, const std::vector<Uuid>& ids, const std::string& name) {
  const BrevSequence* open = project.activeSequence();
  if (!open) return std::nullopt;

  std::vector<std::pair<TrackRef, Clip>> taken;
  std::set<Uuid> seen;
  for (const Uuid& id : ids) {
    const auto where = locate(*open, id);
    if (!where || trackAt(*open, where->track).locked || !seen.insert(id).second) continue;
    taken.emplace_back(where->track, trackAt(*open, where->track).clips[where->index]);
  }
  if (taken.empty()) return std::nullopt;

  std::int64_t earliest = std::numeric_limits<std::int64_t>::max();
  std::int64_t latest = std::numeric_limits<std::int64_t>::min();
  std::optional<TrackRef> picture;
  std::optional<TrackRef> sound;
  for (const auto& [ref, c] : taken) {
    earliest = std::min(earliest, c.start);
    latest = std::max(latest, c.end());
    std::optional<TrackRef>& lowest = ref.kind == TrackKind::video ? picture : sound;
    if (!lowest || ref.index < lowest->index) lowest = ref;
  }

  BrevSequence inner = BrevSequence::make(name, open->width, open->height, open->rate);
  inner.sampleRate = open->sampleRate;
  inner.captionStyle = open->captionStyle;
  for (const auto& [ref, c] : taken) {
    SharedList<Track>& tracks = inner.tracks(ref.kind);
    while (static_cast<std::int64_t>(tracks.size()) <= ref.index) {
      std::string trackName = ref.kind == TrackKind::video ? "V" : "A";
      trackName += std::to_string(tracks.size() + 1);
      tracks.push_back(Track::make(ref.kind, std::move(trackName)));
    }
    Clip moved = c;
    moved.start -= earliest;
    mutTrack(inner, ref).clips.push_back(std::move(moved));
  }
  for (const TrackRef ref : allRefs(inner))
    mutTrack(inner, ref).clips.sortBy([](const Clip& x, const Clip& y) { return x.start < y.start; });

  BrevSequence outer = *open;
  for (const auto& [ref, c] : taken) {
    const ClipLocation where = *locate(outer, c.id);
    mutTrack(outer, where.track).clips.erase(where.index);
  }
  const std::int64_t length = latest - earliest;
  // A selection of sound alone nests as sound alone.
  const TrackRef video = picture.value_or(TrackRef{TrackKind::video, -1});
  overwrite(outer, nestClips(outer, inner, length, video, sound), earliest);

  const Uuid id = inner.id;
  *project.mutableActiveSequence() = std::move(outer);
  project.sequences.push_back(std::move(inner));
  return id;
}

std::vector<Placement> nestedClips(const Project& project, const Uuid& sequence, TrackRef video, TrackRef audio) {
  const BrevSequence* into = project.activeSequence();
  const BrevSequence* nested = project.sequence(sequence);
  if (!into || !nested) return {};
  const std::int64_t length = std::max<std::int64_t>(nested->duration(), 1);
  return nestClips(*into, *nested, length, video, holdsSound(*nested) ? std::optional(audio) : std::nullopt);
}

}  // namespace brevelan
