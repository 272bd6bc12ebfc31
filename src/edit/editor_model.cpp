#include "edit/editor_model.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <unordered_set>

namespace brevelan {

namespace {

EditorModel* sharedEditor = nullptr;

// Without an event loop there are no timers: nothing is built, nothing ticks.
class NoTimers final : public Scheduler {
 public:
  void schedule(double, std::function<void()>) override {}
};

class NothingToBuild final : public ProgramBuilder {
 public:
  void build(BuildRequest, Done done) override { done(nullptr); }
};

double steadySeconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

EditorServices withDefaults(EditorServices services) {
  if (!services.scheduler) services.scheduler = std::make_shared<NoTimers>();
  if (!services.builder) services.builder = std::make_shared<NothingToBuild>();
  if (!services.player) services.player = std::make_shared<ProgramPlayer>();
  if (!services.recovery) services.recovery = std::make_shared<RecoveryCopies>();
  if (!services.clock) services.clock = steadySeconds;
  if (!services.beep) services.beep = [] {};
  return services;
}

std::unordered_set<Uuid> clipIDs(const Project& project) {
  std::unordered_set<Uuid> ids;
  for (const BrevSequence& sequence : project.sequences)
    for (const auto* tracks : {&sequence.video, &sequence.audio})
      for (const Track& track : *tracks)
        for (const Clip& clip : track.clips) ids.insert(clip.id);
  return ids;
}

// Adds every clip that shares a link id with a clip already in `ids`.
void addPartners(const BrevSequence& sequence, std::set<Uuid>& ids) {
  std::set<Uuid> links;
  for (const auto* tracks : {&sequence.video, &sequence.audio})
    for (const Track& track : *tracks)
      for (const Clip& clip : track.clips)
        if (clip.linkID && ids.contains(clip.id)) links.insert(*clip.linkID);
  if (links.empty()) return;
  for (const auto* tracks : {&sequence.video, &sequence.audio})
    for (const Track& track : *tracks)
      for (const Clip& clip : track.clips)
        if (clip.linkID && links.contains(*clip.linkID)) ids.insert(clip.id);
}

}  // namespace

// A scheduled rebuild: what to build, until it is cancelled or handed on.
struct EditorModel::PendingRebuild {
  std::optional<BuildRequest> request;
};

EditorModel::EditorModel(Project project, EditorServices services)
    : services_(withDefaults(std::move(services))), alive_(std::make_shared<EditorModel*>(this)) {
  state_.project = std::move(project);
  scheduleRebuild(0);
}

EditorModel::~EditorModel() {
  if (sharedEditor == this) sharedEditor = nullptr;
}

EditorModel* EditorModel::shared() { return sharedEditor; }
void EditorModel::setShared(EditorModel* editor) { sharedEditor = editor; }

std::uint64_t EditorModel::subscribe(Observer observer) {
  const std::uint64_t token = nextObserver_++;
  observers_.emplace(token, std::move(observer));
  return token;
}

void EditorModel::unsubscribe(std::uint64_t token) { observers_.erase(token); }

void EditorModel::notify(Field field) {
  // Observers may subscribe or unsubscribe while being told.
  for (auto it = observers_.begin(); it != observers_.end();) {
    const std::uint64_t token = it->first;
    Observer observer = it->second;
    observer(field);
    it = observers_.upper_bound(token);
  }
}

void EditorModel::setProject(Project project) {
  state_.project = std::move(project);
  notify(Field::project);
}

Clip* EditorModel::mutableClip(BrevSequence& sequence, const Uuid& id) {
  for (TrackKind kind : {TrackKind::video, TrackKind::audio}) {
    SharedList<Track>& tracks = sequence.tracks(kind);
    for (std::size_t t = 0; t < tracks.size(); ++t) {
      const SharedList<Clip>& clips = tracks[t].clips;
      for (std::size_t c = 0; c < clips.size(); ++c)
        if (clips[c].id == id) return &tracks.mut(t).clips.mut(c);
    }
  }
  return nullptr;
}

bool EditorModel::commit(std::string_view name, bool coalesce, bool rebuild, Project working) {
  if (working == state_.project) return false;

  const double time = now();
  const bool continues = coalesce && name == lastEditName_ && time - lastEditTime_ < kCoalesceWindow &&
                         history_.undoSteps().size() == lastEditDepth_;
  if (!continues) history_.push(state_.project, std::string(name));
  lastEditName_ = std::string(name);
  lastEditTime_ = time;
  lastEditDepth_ = history_.undoSteps().size();

  setProject(std::move(working));
  assign(state_.dirty, true, Field::dirty);
  setStatus(std::string(name));
  refreshPicture(rebuild);
  return true;
}

void EditorModel::refreshPicture(bool rebuild) {
  const BrevSequence* sequence = activeSequence();
  if (!rebuild && build_ && sequence) {
    services_.player->updateAudioMix(*build_, *sequence);
    return;
  }
  scheduleRebuild(kRebuildDelay);
}

void EditorModel::beginDrag() { dragBase_ = state_.project; }

void EditorModel::showPreview(Project preview) {
  setProject(std::move(preview));
  assign(state_.dragPreview, true, Field::dragPreview);
}

bool EditorModel::endDrag(std::string_view name) {
  if (!dragBase_) return false;
  Project base = std::move(*dragBase_);
  dragBase_.reset();
  assign(state_.dragPreview, false, Field::dragPreview);
  if (base == state_.project) return false;

  history_.push(std::move(base), std::string(name));
  assign(state_.dirty, true, Field::dirty);
  setStatus(std::string(name));
  lastEditName_.clear();
  scheduleRebuild(kRebuildDelay);
  return true;
}

void EditorModel::cancelDrag() {
  if (!dragBase_) return;
  Project base = std::move(*dragBase_);
  dragBase_.reset();
  if (!(base == state_.project)) setProject(std::move(base));
  assign(state_.dragPreview, false, Field::dragPreview);
}

bool EditorModel::undo() { return restore(true); }
bool EditorModel::redo() { return restore(false); }

bool EditorModel::restore(bool undoing) {
  std::optional<UndoStep> step = undoing ? history_.undo(state_.project) : history_.redo(state_.project);
  if (!step) {
    services_.beep();
    return false;
  }
  setProject(std::move(step->project));
  assign(state_.dirty, true, Field::dirty);
  setStatus((undoing ? "Undo " : "Redo ") + step->name);

  pruneSelection();
  scheduleRebuild(kRebuildDelay);
  return true;
}

void EditorModel::pruneSelection() {
  const std::unordered_set<Uuid> existing = clipIDs(state_.project);
  std::set<Uuid> kept;
  for (const Uuid& id : state_.selection)
    if (existing.contains(id)) kept.insert(id);
  setSelection(std::move(kept));
}

void EditorModel::scheduleRebuild(double delaySeconds) {
  if (rebuildWork_) rebuildWork_->request.reset();

  const std::uint64_t generation = ++buildGeneration_;
  const BrevSequence* sequence = activeSequence();
  auto work = std::make_shared<PendingRebuild>();
  work->request = BuildRequest{state_.project, sequence ? *sequence : BrevSequence{}, state_.useProxies};
  rebuildWork_ = work;

  std::weak_ptr<EditorModel*> weak = alive_;
  services_.scheduler->schedule(delaySeconds, [weak, work, generation] {
    const auto alive = weak.lock();
    if (!alive || !work->request) return;
    EditorModel& editor = **alive;
    BuildRequest request = std::move(*work->request);
    work->request.reset();
    if (editor.rebuildWork_ == work) editor.rebuildWork_.reset();
    editor.services_.builder->build(std::move(request), [weak, generation](std::shared_ptr<const ProgramBuild> build) {
      if (const auto alive = weak.lock()) (*alive)->install(std::move(build), generation);
    });
  });
}

void EditorModel::install(std::shared_ptr<const ProgramBuild> build, std::uint64_t generation) {
  // A newer request has been made; its own build follows.
  if (generation != buildGeneration_) return;
  ProgramPlayer& player = *services_.player;
  const float rate = player.rate();
  build_ = std::move(build);
  const BrevSequence* sequence = activeSequence();
  const BrevSequence empty;
  player.replaceItem(build_, sequence ? *sequence : empty);
  player.seek(state_.playhead, sequence ? sequence->rate : empty.rate);
  if (rate != 0) player.setRate(rate);
}

void EditorModel::setUseProxies(bool on) {
  if (state_.useProxies == on) return;
  assign(state_.useProxies, on, Field::useProxies);
  scheduleRebuild(kRebuildDelay);
}

void EditorModel::copySelection() {
  const BrevSequence* sequence = activeSequence();
  if (!sequence) return;
  std::vector<ClipboardEntry> copied = copyClips(*sequence, state_.selection);
  if (copied.empty()) return;
  attributeSource_ = copied.front().clip;
  const std::size_t count = copied.size();
  clipboard_ = std::move(copied);
  setStatus("Copied " + std::to_string(count) + (count == 1 ? " clip" : " clips"));
}

bool EditorModel::paste() {
  if (clipboard_.empty()) return false;
  const std::vector<ClipboardEntry> fresh = withFreshIdentities(clipboard_);
  const std::int64_t at = state_.playhead;
  return editSeq("Paste", false, true, [&](BrevSequence& sequence) { placeOverwriting(sequence, fresh, at); });
}

void EditorModel::select(const Uuid& clipID, bool extend) {
  std::set<Uuid> next = extend ? state_.selection : std::set<Uuid>{};
  next.insert(clipID);
  if (state_.linkedSelection)
    if (const BrevSequence* sequence = activeSequence()) addPartners(*sequence, next);
  setSelection(std::move(next));
}

void EditorModel::setPlayhead(std::int64_t frame) {
  frame = std::max<std::int64_t>(frame, 0);
  assign(state_.playhead, frame, Field::playhead);
  const BrevSequence* sequence = activeSequence();
  services_.player->seek(frame, sequence ? sequence->rate : FrameRate{30, 1});
}

void EditorModel::step(std::int64_t frames) {
  if (state_.focus == ViewerFocus::source)
    setSourcePlayhead(std::max<std::int64_t>(state_.sourcePlayhead + frames, 0));
  else
    setPlayhead(state_.playhead + frames);
}

void EditorModel::markInPoint() {
  if (state_.focus == ViewerFocus::source)
    setSourceIn(state_.sourcePlayhead);
  else
    setMarkIn(state_.playhead);
}

void EditorModel::markOutPoint() {
  if (state_.focus == ViewerFocus::source)
    setSourceOut(state_.sourcePlayhead);
  else
    setMarkOut(state_.playhead);
}

void EditorModel::clearMarks() {
  if (state_.focus == ViewerFocus::source) {
    setSourceIn(std::nullopt);
    setSourceOut(std::nullopt);
  } else {
    setMarkIn(std::nullopt);
    setMarkOut(std::nullopt);
  }
}

void EditorModel::showAlert(std::string title, std::string message) {
  setAlert(AlertInfo{Uuid::make(), std::move(title), std::move(message)});
}

}  // namespace brevelan
