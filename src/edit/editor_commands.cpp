#include <algorithm>
#include <set>
#include <string>

#include "edit/clip_primitives.h"
#include "edit/editor_model.h"
#include "edit/linking.h"
#include "edit/nesting.h"
#include "edit/paste_attributes.h"
#include "edit/placement_edits.h"
#include "edit/sequence_queries.h"
#include "edit/speed_change.h"
#include "edit/trim_tools.h"

// The editor's commands that change the document: each one a sequence
// operation run through the funnel under its user-visible name.
namespace brevelan {

namespace {

constexpr std::int64_t kFreezeSeconds = 2;

// The source frame a clip shows at a timeline frame it covers.
std::int64_t sourceFrameAt(const Clip& clip, std::int64_t frame) {
  if (clip.speed.freeze) return clip.sourceIn;
  const std::int64_t into = frame - clip.start;
  // A reversed clip plays its used source from the end back to sourceIn.
  if (clip.speed.reverse) return clip.sourceIn + clip.speed.consumed(clip.duration - into) - 1;
  const auto pieces = split(clip, frame);
  return pieces ? pieces->right.sourceIn : clip.sourceIn;
}

}  // namespace

bool EditorModel::refuse(std::string title, std::string message) {
  showAlert(std::move(title), std::move(message));
  return false;
}

std::vector<Uuid> EditorModel::selectedClips() const {
  std::vector<Uuid> ids;
  const BrevSequence* seq = activeSequence();
  if (!seq) return ids;
  for (const TrackRef ref : allRefs(*seq))
    for (const Clip& c : trackAt(*seq, ref).clips)
      if (state_.selection.contains(c.id)) ids.push_back(c.id);
  return ids;
}

std::optional<Clip> EditorModel::firstSelectedClip(std::optional<TrackKind> kind) const {
  const BrevSequence* seq = activeSequence();
  if (!seq || state_.selection.empty()) return std::nullopt;
  for (const TrackRef ref : allRefs(*seq)) {
    if (kind && ref.kind != *kind) continue;
    for (const Clip& c : trackAt(*seq, ref).clips)
      if (state_.selection.contains(c.id)) return c;
  }
  return std::nullopt;
}

bool EditorModel::placeAtPlayhead(std::string_view name, Clip clip) {
  const Placement item{{TrackKind::video, state_.targetVideo}, std::move(clip)};
  return editSeq(name, false, true, [&](BrevSequence& seq) { overwrite(seq, {item}, state_.playhead); });
}

bool EditorModel::addColorClip(RGBA color) {
  const BrevSequence* seq = activeSequence();
  if (!seq) return false;
  return placeAtPlayhead("Add Color", Clip::make(ClipSource::color(color), "Color", 0, MediaItem::stillLength(seq->rate)));
}

bool EditorModel::addTitle(TitleStyle style) {
  const BrevSequence* seq = activeSequence();
  if (!seq) return false;
  TitleSpec look;
  look.style = style;
  const std::string name(text(style));
  return placeAtPlayhead("Add Title", Clip::make(ClipSource::title(look), name, 0, MediaItem::stillLength(seq->rate)));
}

bool EditorModel::addMarker(std::int64_t frame, std::string name) {
  const Marker marker{Uuid::make(), std::max<std::int64_t>(frame, 0), std::move(name), 0};
  return editSeq("Add Marker", false, true, [&](BrevSequence& seq) {
    seq.markers.push_back(marker);
    seq.markers.sortBy([](const Marker& a, const Marker& b) { return a.frame < b.frame; });
  });
}

bool EditorModel::markBeats(std::optional<Uuid> clip) {
  const BrevSequence* seq = activeSequence();
  if (!seq) return false;
  if (!clip) {
    for (const Uuid& id : selectedClips()) {
      const auto where = locate(*seq, id);
      if (where && where->track.kind == TrackKind::audio) {
        clip = id;
        break;
      }
    }
  }
  const auto where = clip ? locate(*seq, *clip) : std::nullopt;
  if (!where || where->track.kind != TrackKind::audio) return false;
  const std::int64_t start = trackAt(*seq, where->track).clips[where->index].start;
  const std::vector<double> beats = services_.findBeats ? services_.findBeats(project(), *seq, *clip) : std::vector<double>{};
  if (beats.empty()) {
    showAlert("No beat found", "Brevelan could not hear a clear beat in that clip.");
    return false;
  }
  const FrameRate rate = seq->rate;
  const bool changed = editSeq("Mark Beats", false, true, [&](BrevSequence& s) {
    for (const double beat : beats) s.markers.push_back(Marker{Uuid::make(), start + rate.frames(beat), "Beat", 0});
    s.markers.sortBy([](const Marker& a, const Marker& b) { return a.frame < b.frame; });
  });
  if (changed) setStatus("Marked " + std::to_string(beats.size()) + " beats");
  return changed;
}

bool EditorModel::addTrack(TrackKind kind) {
  return editSeq("Add Track", false, true, [&](BrevSequence& seq) {
    SharedList<Track>& tracks = seq.tracks(kind);
    std::string name = kind == TrackKind::video ? "V" : "A";
    name += std::to_string(tracks.size() + 1);
    tracks.push_back(Track::make(kind, std::move(name)));
  });
}

bool EditorModel::addTransition(const Uuid& clip, Transition transition) {
  const BrevSequence* seq = activeSequence();
  const auto where = seq ? locate(*seq, clip) : std::nullopt;
  if (!where || transition.duration < 1 || trackAt(*seq, where->track).locked) return false;
  if (!prev(*seq, trackAt(*seq, where->track).clips[where->index], where->track)) return false;
  return updateClip(clip, "Add Transition", false, true, [&](Clip& c) { c.transitionIn = transition; });
}

bool EditorModel::addKey(const Uuid& clip, std::string_view name, bool volume, std::int64_t frame, double value) {
  const BrevSequence* seq = activeSequence();
  const auto where = seq ? locate(*seq, clip) : std::nullopt;
  if (!where || trackAt(*seq, where->track).locked) return false;
  return updateClip(clip, name, false, true, [&](Clip& c) {
    AudioFX& audio = c.audio.mut();
    (volume ? audio.volumeKeys : audio.panKeys).set(frame, value);
  });
}

bool EditorModel::addVolumeKey(const Uuid& clip, std::int64_t frame, double dB) {
  return addKey(clip, "Volume Key", true, frame, dB);
}

bool EditorModel::addPanKey(const Uuid& clip, std::int64_t frame, double pan) {
  return addKey(clip, "Pan Key", false, frame, pan);
}

bool EditorModel::bladeAtPlayhead() {
  return editSeq("Blade", false, true, [&](BrevSequence& seq) { blade(seq, state_.playhead, unlockedRefs(seq)); });
}

bool EditorModel::bladeAtMarkers() {
  return editSeq("Blade", false, true, [&](BrevSequence& seq) {
    const std::vector<Marker> markers = seq.markers.toVector();
    for (const Marker& marker : markers) blade(seq, marker.frame, unlockedRefs(seq));
  });
}

bool EditorModel::closeGapAtPlayhead() {
  return editSeq("Close Gap", false, true, [&](BrevSequence& seq) {
    for (const TrackRef ref : unlockedRefs(seq)) closeGap(seq, state_.playhead, ref);
  });
}

bool EditorModel::deleteSelection(bool ripple) {
  const std::vector<Uuid> ids = selectedClips();
  if (ids.empty()) return ripple ? extractMarkedRange() : liftMarkedRange();
  const bool linked = state_.linkedSelection;
  const bool changed = editSeq(ripple ? "Ripple Delete" : "Delete", false, true, [&](BrevSequence& seq) {
    if (ripple) rippleDelete(seq, ids, linked);
    else lift(seq, ids, linked);
  });
  pruneSelection();
  return changed;
}

bool EditorModel::liftMarkedRange() {
  if (!state_.markIn || !state_.markOut) return false;
  const std::int64_t a = *state_.markIn;
  const std::int64_t b = *state_.markOut;
  const bool changed = editSeq("Lift", false, true, [&](BrevSequence& seq) { liftRange(seq, a, b, unlockedRefs(seq)); });
  pruneSelection();
  return changed;
}

bool EditorModel::extractMarkedRange() {
  if (!state_.markIn || !state_.markOut) return false;
  const std::int64_t a = *state_.markIn;
  const std::int64_t b = *state_.markOut;
  const bool changed = editSeq("Extract", false, true, [&](BrevSequence& seq) { extract(seq, a, b); });
  pruneSelection();
  return changed;
}

bool EditorModel::freezeFrame() {
  const BrevSequence* seq = activeSequence();
  if (!seq) return false;
  const std::int64_t at = state_.playhead;
  // The picture seen is the one on the highest track.
  for (std::size_t i = seq->video.size(); i-- > 0;) {
    const TrackRef ref{TrackKind::video, static_cast<std::int64_t>(i)};
    const auto index = clipIndex(*seq, at, ref);
    if (!index) continue;
    const Clip& shown = trackAt(*seq, ref).clips[*index];
    if (!shown.enabled || !hasSourceFrames(shown)) continue;

    Clip still = shown;
    still.id = Uuid::make();
    still.duration = kFreezeSeconds * seq->rate.nominalFPS();
    still.sourceIn = sourceFrameAt(shown, at);
    still.speed = SpeedSettings{1, false, true, std::nullopt};
    still.linkID.reset();
    still.transitionIn.reset();
    still.audio = AudioFX{};
    const Placement item{ref, std::move(still)};
    return editSeq("Freeze Frame", false, true, [&](BrevSequence& s) { insert(s, {item}, at); });
  }
  return false;
}

bool EditorModel::linkSelection() {
  const std::vector<Uuid> ids = selectedClips();
  if (ids.size() < 2) return false;
  return editSeq("Link", false, true, [&](BrevSequence& seq) { link(seq, ids); });
}

bool EditorModel::unlinkSelection() {
  const std::vector<Uuid> ids = selectedClips();
  return editSeq("Unlink", false, true, [&](BrevSequence& seq) { unlink(seq, ids); });
}

bool EditorModel::setSpeed(double rate, bool reverse, bool freeze, std::optional<double> rampTo) {
  const std::vector<Uuid> ids = selectedClips();
  if (ids.empty()) return false;
  const SpeedSettings speed{rate, reverse, freeze, rampTo};
  return editSeq("Speed", false, true, [&](BrevSequence& seq) { brevelan::setSpeed(seq, ids.front(), speed); });
}

std::optional<SourceEdit> EditorModel::threePointClips() {
  const MediaItem* media = state_.sourceMediaID ? project().mediaItem(*state_.sourceMediaID) : nullptr;
  const BrevSequence* seq = activeSequence();
  if (!media || !seq) {
    refuse("Nothing to edit in",
           "Double-click a clip in the Media Bin to open it in the Source viewer, then mark In (I) and Out (O).");
    return std::nullopt;
  }
  const SourceEditMarks marks{state_.sourceIn, state_.sourceOut, state_.markIn,      state_.markOut,
                              state_.playhead, state_.targetVideo, state_.targetAudio};
  return brevelan::threePointClips(*seq, *media, marks);
}

bool EditorModel::sourceEdit(std::string_view name, bool inserting, bool appending) {
  const std::optional<SourceEdit> planned = threePointClips();
  if (!planned) return false;
  std::int64_t at = planned->at;
  if (appending)
    at = appendFrame(*activeSequence(), {{TrackKind::video, state_.targetVideo}, {TrackKind::audio, state_.targetAudio}});
  const bool changed = editSeq(name, false, true, [&](BrevSequence& seq) {
    if (inserting) insert(seq, planned->items, at);
    else overwrite(seq, planned->items, at);
  });
  if (changed) setPlayhead(at + planned->length);
  return changed;
}

bool EditorModel::insertEdit() { return sourceEdit("Insert", true, false); }
bool EditorModel::overwriteEdit() { return sourceEdit("Overwrite", false, false); }
bool EditorModel::appendEdit() { return sourceEdit("Append", false, true); }

bool EditorModel::nestSelection() {
  const std::vector<Uuid> ids = selectedClips();
  if (ids.empty()) return false;
  const std::string name = nextNestName(project());
  const bool changed = edit("Nest Clips", false, true, [&](Project& p) { nest(p, ids, name); });
  pruneSelection();
  return changed;
}

bool EditorModel::nestIn(const Uuid& sequence) {
  const BrevSequence* open = activeSequence();
  if (!open || !project().sequence(sequence)) return false;
  if (nests(project(), sequence, open->id)) return refuse("Can't nest", "A sequence can't be put inside itself.");
  const std::vector<Placement> items = nestedClips(project(), sequence, {TrackKind::video, state_.targetVideo},
                                                   {TrackKind::audio, state_.targetAudio});
  return editSeq("Nested Clip", false, true, [&](BrevSequence& seq) { overwrite(seq, items, state_.playhead); });
}

bool EditorModel::pasteAttributes() {
  if (!attributeSource_) return refuse("Paste Attributes", "Select a clip and choose Edit ▸ Copy first.");
  const std::vector<Uuid> ids = selectedClips();
  const Clip from = *attributeSource_;
  const std::uint32_t what = state_.pasteWhat;
  return editSeq("Paste Attributes", false, true,
                 [&](BrevSequence& seq) { brevelan::pasteAttributes(seq, from, ids, what); });
}

bool EditorModel::splitEdit(bool jCut, std::int64_t frames) {
  const char* name = jCut ? "J-Cut" : "L-Cut";
  const BrevSequence* seq = activeSequence();
  std::optional<Uuid> picture;
  for (const Uuid& id : selectedClips())
    if (locate(*seq, id)->track.kind == TrackKind::video) {
      picture = id;
      break;
    }
  if (!picture) return refuse(name, "Select the video clip AFTER the cut, then choose J-Cut or L-Cut.");
  return editSeq(name, false, true, [&](BrevSequence& s) { brevelan::splitEdit(s, *picture, frames, jCut); });
}

void EditorModel::gotoEdit(bool forward) {
  const BrevSequence* seq = activeSequence();
  if (!seq) return;
  std::set<std::int64_t> points;
  for (const std::int64_t frame : editPoints(*seq)) points.insert(frame);
  for (const Marker& marker : seq->markers) points.insert(marker.frame);
  const std::int64_t here = state_.playhead;
  if (forward) {
    const auto it = points.upper_bound(here);
    if (it != points.end()) setPlayhead(*it);
  } else {
    const auto it = points.lower_bound(here);
    if (it != points.begin()) setPlayhead(*std::prev(it));
  }
}

}  // namespace brevelan
