#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "edit/clipboard.h"
#include "edit/editor_services.h"
#include "edit/editor_state.h"
#include "edit/history.h"
#include "edit/split_edit.h"
#include "edit/three_point.h"
#include "model/expected.h"
#include "model/file_error.h"
#include "model/project.h"

namespace brevelan {

class MediaProber;
class VoiceOverInput;

// The controller of the open document. Every change to the project goes
// through the edit funnel (edit, editSeq, updateClip), the drag protocol,
// undo/redo, or replacing the document; everything else here is editor state
// that the interface observes. Main thread only.
class EditorModel {
 public:
  using Observer = std::function<void(Field)>;
  // The save panel: a location, or nothing when the user cancels.
  using LocationChooser = std::function<std::optional<std::filesystem::path>()>;

  static constexpr double kRebuildDelay = 0.15;
  // Same-named coalescing edits closer together than this are one undo step.
  static constexpr double kCoalesceWindow = 1.0;
  static constexpr const char* kCouldNotSave = "Could not save";
  static constexpr const char* kCouldNotOpen = "Could not open the project";

  explicit EditorModel(Project project, EditorServices services = {});
  ~EditorModel();
  EditorModel(const EditorModel&) = delete;
  EditorModel& operator=(const EditorModel&) = delete;

  // The application's one editor; set by the application, null until then.
  static EditorModel* shared();
  static void setShared(EditorModel* editor);

  // Observation. Subscribers hear which field changed, after the change.
  const EditorState& state() const { return state_; }
  const Project& project() const { return state_.project; }
  const BrevSequence* activeSequence() const { return state_.project.activeSequence(); }
  std::uint64_t subscribe(Observer observer);
  void unsubscribe(std::uint64_t token);

  // The edit funnel: `body` changes a copy of the project. Returns whether
  // the project changed; an edit that changes nothing records nothing.
  template <class Body>
  bool edit(std::string_view name, bool coalesce, bool rebuild, Body&& body) {
    Project working = state_.project;
    body(working);
    return commit(name, coalesce, rebuild, std::move(working));
  }
  // The same, on the active sequence.
  template <class Body>
  bool editSeq(std::string_view name, bool coalesce, bool rebuild, Body&& body) {
    return edit(name, coalesce, rebuild, [&](Project& project) {
      if (BrevSequence* sequence = project.mutableActiveSequence()) body(*sequence);
    });
  }
  // The same, on one clip of the active sequence found by id on any track.
  template <class Body>
  bool updateClip(const Uuid& id, std::string_view name, bool coalesce, bool rebuild, Body&& body) {
    return editSeq(name, coalesce, rebuild, [&](BrevSequence& sequence) {
      if (Clip* clip = mutableClip(sequence, id)) body(*clip);
    });
  }

  // Live drags: every preview is computed from the state at beginDrag and
  // the whole drag becomes one undo step at endDrag.
  void beginDrag();
  template <class Body>
  void previewDrag(Body&& body) {
    if (!dragBase_) return;
    Project preview = *dragBase_;
    if (BrevSequence* sequence = preview.mutableActiveSequence()) body(*sequence);
    showPreview(std::move(preview));
  }
  // Returns whether a step was recorded.
  bool endDrag(std::string_view name);
  void cancelDrag();
  bool dragging() const { return dragBase_.has_value(); }

  // Undo and redo; with nothing to go back (or forward) to, beep.
  bool undo();
  bool redo();
  const History& history() const { return history_; }

  // Debounced picture rebuild: pending requests are dropped, and a build that
  // finishes after a newer request was made is never installed.
  void scheduleRebuild(double delaySeconds);
  std::uint64_t buildGeneration() const { return buildGeneration_; }
  const std::shared_ptr<const ProgramBuild>& currentBuild() const { return build_; }

  // Clipboard.
  void copySelection();
  // One "Paste" edit at the playhead; returns whether the project changed.
  bool paste();
  const std::vector<ClipboardEntry>& clipboard() const { return clipboard_; }
  // The clip whose attributes Paste Attributes copies.
  const std::optional<Clip>& attributeSource() const { return attributeSource_; }

  // Selection. With linked selection on, selecting a clip selects its partners.
  void select(const Uuid& clipID, bool extend);
  void setSelection(std::set<Uuid> selection) { assign(state_.selection, std::move(selection), Field::selection); }
  void clearSelection() { setSelection({}); }
  // The first selected clip of the active sequence, picture tracks before
  // sound tracks, or only on tracks of `kind` when given.
  std::optional<Clip> firstSelectedClip(std::optional<TrackKind> kind = std::nullopt) const;

  // Transport and marks: editor state only, never the document.
  void setPlayhead(std::int64_t frame);  // also seeks the program player
  void playheadReported(std::int64_t frame) { assign(state_.playhead, frame, Field::playhead); }
  void setSourcePlayhead(std::int64_t frame) { assign(state_.sourcePlayhead, frame, Field::sourcePlayhead); }
  // Moves the focused viewer's position, never before frame 0.
  void step(std::int64_t frames);
  // I, O and clear marks act on the focused viewer.
  void markInPoint();
  void markOutPoint();
  void clearMarks();

  // Commands that change the document. Each builds its change with the
  // sequence operations and applies it through the funnel under the edit's
  // name (in quotes), and returns whether the project changed. A refusal the
  // user has to hear about raises `alert` instead and changes nothing.
  // New clips go on the target tracks at the playhead, overwriting.
  bool addColorClip(RGBA color);                      // "Add Color", 5 seconds
  bool addTitle(TitleStyle style);                    // "Add Title", 5 seconds
  bool addMarker(std::int64_t frame, std::string name);  // "Add Marker"
  bool addTrack(TrackKind kind);                      // "Add Track", named V3, A3, …
  // A marker on every beat of a sound clip (the selected one without an id);
  // "No beat found" when there is none.
  bool markBeats(std::optional<Uuid> clip = std::nullopt);  // "Mark Beats"
  // On the cut at the clip's head; false without a clip touching it on the left.
  bool addTransition(const Uuid& clip, Transition transition);  // "Add Transition"
  bool addVolumeKey(const Uuid& clip, std::int64_t frame, double dB);  // "Volume Key"
  bool addPanKey(const Uuid& clip, std::int64_t frame, double pan);    // "Pan Key"
  bool bladeAtPlayhead();     // "Blade": every unlocked track
  bool bladeAtMarkers();      // "Blade": every unlocked track at every marker
  bool closeGapAtPlayhead();  // "Close Gap": each unlocked track on its own
  // The selected clips ("Delete" / "Ripple Delete"), or with nothing selected
  // the marked range ("Lift" / "Extract").
  bool deleteSelection(bool ripple);
  bool liftMarkedRange();     // "Lift": In..Out on every unlocked track, gaps stay
  bool extractMarkedRange();  // "Extract": In..Out out of every unlocked track
  // Inserts a 2-second still of the picture under the playhead, on its track.
  bool freezeFrame();         // "Freeze Frame"
  bool linkSelection();       // "Link"
  bool unlinkSelection();     // "Unlink"
  // New speed settings for the selected clip and its partners.
  bool setSpeed(double rate, bool reverse, bool freeze, std::optional<double> rampTo);  // "Speed"
  // The source edit the marks describe; raises "Nothing to edit in" when the
  // Source viewer is empty.
  std::optional<SourceEdit> threePointClips();
  // Source edits; afterwards the playhead sits at the end of the new clips.
  bool insertEdit();     // "Insert", key ","
  bool overwriteEdit();  // "Overwrite", key "."
  bool appendEdit();     // "Append", key "E": after the target tracks' last clip
  bool nestSelection();  // "Nest Clips"
  // A sequence of the project as a nested clip; "Can't nest" when it holds
  // the open sequence.
  bool nestIn(const Uuid& sequence);  // "Nested Clip"
  // The copied clip's chosen groups (pasteWhat) onto the selected clips.
  bool pasteAttributes();  // "Paste Attributes"
  // A J- or L-cut at the head of the selected picture clip.
  bool splitEdit(bool jCut, std::int64_t frames = kSplitEditFrames);  // "J-Cut" / "L-Cut"
  // Moves the playhead to the next (or previous) clip edge or marker.
  void gotoEdit(bool forward);

  // Transcribe: listens to the active sequence's sound on this computer and
  // replaces its captions with what was said, as one "Transcribe" step once
  // the recognizer answers. Asks for permission first where the system wants
  // that. Returns whether listening (or asking) began; every failure ends in
  // one alert and leaves the captions as they were.
  static constexpr const char* kTranscribe = "Transcribe";
  static constexpr const char* kSpeechLocale = "en-US";
  static constexpr const char* kListening = "Listening and writing captions (on this computer)…";
  bool transcribe();
  // Stops a running transcription; the captions stay as they were.
  void cancelTranscription();
  bool transcribing() const { return transcribing_; }

  // Voice-over: one take at a time from `input`, recorded while the sequence
  // plays from the playhead. The shell plays and pauses the program as
  // voiceOverActive turns on and off. When a take ends, its file is probed
  // with `prober` and, as one "Overwrite" step, added to the media and
  // overwritten onto the audio track "VO" (appended when there is none) at
  // the frame where recording began. Failures end in one alert and add nothing.
  static constexpr const char* kVoiceOverTrack = "VO";
  static constexpr const char* kVoiceOverEdit = "Overwrite";
  static constexpr const char* kRecordingStatus = "Recording voice-over… press the button again to stop";
  static constexpr const char* kMicrophoneNotAllowed = "Microphone not allowed";
  static constexpr const char* kAllowMicrophone = "Allow Vael Brevelan in the system's privacy settings, then try again.";
  static constexpr const char* kCouldNotRecord = "Could not record";
  void setVoiceOverInput(std::shared_ptr<VoiceOverInput> input, std::shared_ptr<const MediaProber> prober);
  const std::shared_ptr<VoiceOverInput>& voiceOverInput() const { return recorder_; }
  // Starts a take, or ends the running one and places it. Returns whether
  // recording began (or asking for the microphone did), or a take ended.
  bool toggleVoiceOver();
  // The sequence frame where the running take began.
  std::int64_t voStart() const { return voStart_; }

  // Track switches from the timeline's headers. Mute and solo change only the
  // sound, so they refresh the mix without a picture rebuild.
  bool setTrackMuted(TrackRef track, bool on);   // "Mute"
  bool setTrackSolo(TrackRef track, bool on);    // "Solo"
  bool setTrackLocked(TrackRef track, bool on);  // "Lock"
  // Media from the bin dropped on a track at a frame, overwritten there one
  // after another, each whole. The dropped track takes what it can show; the
  // rest (a movie's sound, a sound file dropped on a video track) goes to the
  // track of the other kind with the same number, or the last one there is,
  // linked to its picture. Selects the new clips.
  bool dropMedia(const std::vector<Uuid>& items, TrackRef track, std::int64_t frame);  // "Overwrite"

  // Files. Failures are also raised as `alert` with the fixed title.
  Expected<void, FileError> open(const std::filesystem::path& file);
  // Writes to the file location, asking for one first when there is none.
  // true: saved; false: the user chose no location.
  Expected<bool, FileError> save(const LocationChooser& chooseLocation);
  Expected<bool, FileError> saveAs(const LocationChooser& chooseLocation);
  Expected<void, FileError> saveTo(const std::filesystem::path& file);
  void newProject();
  // Opens a recovery copy: unsaved, saving back to its original file if it had one.
  void recover(Project project, std::optional<std::filesystem::path> originalPath);
  // Writes a recovery copy every `seconds` while the document is dirty.
  void startAutosave(double seconds);
  void stopAutosave();
  // Writes a recovery copy now if the document is dirty (as a tick would,
  // for an end that cannot wait for one); true when it did.
  bool keepUnsavedWork();

  // Plain editor switches and interface state.
  void setTool(Tool tool) { assign(state_.tool, tool, Field::tool); }
  void setSnapping(bool on) { assign(state_.snapping, on, Field::snapping); }
  void setLinkedSelection(bool on) { assign(state_.linkedSelection, on, Field::linkedSelection); }
  void setWorkspace(Workspace workspace) { assign(state_.workspace, workspace, Field::workspace); }
  void setPixelsPerFrame(double zoom) { assign(state_.pixelsPerFrame, zoom, Field::pixelsPerFrame); }
  void setTargetVideo(std::int64_t index) { assign(state_.targetVideo, index, Field::targetVideo); }
  void setTargetAudio(std::int64_t index) { assign(state_.targetAudio, index, Field::targetAudio); }
  void setFocus(ViewerFocus focus) { assign(state_.focus, focus, Field::focus); }
  void setUseProxies(bool on);
  void setAutoProxies(bool on) { assign(state_.autoProxies, on, Field::autoProxies); }
  void setSheet(std::optional<SheetKind> sheet) { assign(state_.sheet, sheet, Field::sheet); }
  void setAlert(std::optional<AlertInfo> alert) { assign(state_.alert, std::move(alert), Field::alert); }
  void showAlert(std::string title, std::string message);
  void setStatus(std::string text) { assign(state_.status, std::move(text), Field::status); }
  void setBusy(std::optional<std::string> label) { assign(state_.busy, std::move(label), Field::busy); }
  void setBusyProgress(double progress) { assign(state_.busyProgress, progress, Field::busyProgress); }
  void setBinFilter(std::string text) { assign(state_.binFilter, std::move(text), Field::binFilter); }
  void setSelectedMediaID(std::optional<Uuid> id) { assign(state_.selectedMediaID, id, Field::selectedMediaID); }
  void bumpThumbsVersion() { assign(state_.thumbsVersion, state_.thumbsVersion + 1, Field::thumbsVersion); }
  void setSourceMediaID(std::optional<Uuid> id) { assign(state_.sourceMediaID, id, Field::sourceMediaID); }
  void setSourceIn(std::optional<std::int64_t> frame) { assign(state_.sourceIn, frame, Field::sourceIn); }
  void setSourceOut(std::optional<std::int64_t> frame) { assign(state_.sourceOut, frame, Field::sourceOut); }
  void setMarkIn(std::optional<std::int64_t> frame) { assign(state_.markIn, frame, Field::markIn); }
  void setMarkOut(std::optional<std::int64_t> frame) { assign(state_.markOut, frame, Field::markOut); }
  void setPlayRate(float rate) { assign(state_.playRate, rate, Field::playRate); }
  void setMeters(std::map<Uuid, StereoLevel> meters) { assign(state_.meters, std::move(meters), Field::meters); }
  void setMasterMeter(StereoLevel level) { assign(state_.masterMeter, level, Field::masterMeter); }
  void setScopes(std::shared_ptr<const ScopeData> data) { assign(state_.scopes, std::move(data), Field::scopes); }
  void setVoiceOverActive(bool on) { assign(state_.voiceOverActive, on, Field::voiceOverActive); }
  void setPasteWhat(std::uint32_t groups) { assign(state_.pasteWhat, groups, Field::pasteWhat); }

 private:
  struct PendingRebuild;

  static Clip* mutableClip(BrevSequence& sequence, const Uuid& id);

  bool refuse(std::string title, std::string message);
  bool startVoiceOver();
  // Ends the take; with `place`, puts it on the sequence it was recorded for.
  void finishVoiceOver(bool place);
  void placeVoiceOver(const std::filesystem::path& file);
  // Transcribe once recognition is allowed; finishTranscription takes the answer.
  bool startTranscription();
  void finishTranscription(const Uuid& sequence, Expected<SpeechCaptioner::Lines, std::string> lines);
  // Places new clips with a source edit, then puts the playhead after them.
  bool sourceEdit(std::string_view name, bool inserting, bool appending);
  bool placeAtPlayhead(std::string_view name, Clip clip);
  bool addKey(const Uuid& clip, std::string_view name, bool volume, std::int64_t frame, double value);
  // The selected clips in track order (video tracks first).
  std::vector<Uuid> selectedClips() const;
  // Drops clips from the selection that the last edit removed.
  void pruneSelection();

  bool commit(std::string_view name, bool coalesce, bool rebuild, Project working);
  void showPreview(Project preview);
  bool restore(bool undoing);
  void install(std::shared_ptr<const ProgramBuild> build, std::uint64_t generation);
  void refreshPicture(bool rebuild);
  void replaceDocument(Project project, std::optional<std::filesystem::path> fileURL, bool dirty);
  void scheduleAutosaveTick(double seconds, std::uint64_t timer);
  double now() const { return services_.clock(); }

  void setProject(Project project);
  void notify(Field field);
  template <class T, class U>
  void assign(T& member, U&& value, Field field) {
    if (member == value) return;
    member = std::forward<U>(value);
    notify(field);
  }

  EditorServices services_;
  EditorState state_;
  std::map<std::uint64_t, Observer> observers_;
  std::uint64_t nextObserver_ = 1;

  History history_;
  std::string lastEditName_;
  double lastEditTime_ = 0;
  // Undo depth right after the last funnel edit: a series continues only
  // while its own step is still the newest one.
  std::size_t lastEditDepth_ = 0;
  std::optional<Project> dragBase_;

  std::shared_ptr<const ProgramBuild> build_;
  std::uint64_t buildGeneration_ = 0;
  std::shared_ptr<PendingRebuild> rebuildWork_;
  std::uint64_t autosaveTimer_ = 0;

  bool transcribing_ = false;
  bool transcriptionCancelled_ = false;

  std::shared_ptr<VoiceOverInput> recorder_;
  std::shared_ptr<const MediaProber> voiceOverProber_;
  std::int64_t voStart_ = 0;
  Uuid voProject_;
  Uuid voSequence_;
  // Watches for the document being replaced during a take.
  std::uint64_t voWatch_ = 0;

  std::vector<ClipboardEntry> clipboard_;
  std::optional<Clip> attributeSource_;

  // Work left on the scheduler or the builder holds this weakly, so it does
  // nothing once the editor is gone.
  std::shared_ptr<EditorModel*> alive_;
};

}  // namespace brevelan
