#include <memory>
#include <string>
#include <utility>

#include "edit/editor_model.h"
#include "edit/media_import.h"
#include "edit/media_probe.h"
#include "edit/placement_edits.h"
#include "edit/voice_over_input.h"

namespace brevelan {

void EditorModel::setVoiceOverInput(std::shared_ptr<VoiceOverInput> input, std::shared_ptr<const MediaProber> prober) {
  // A take in progress belongs to the input it was started on.
  if (state_.voiceOverActive) finishVoiceOver(true);
  recorder_ = std::move(input);
  voiceOverProber_ = std::move(prober);
}

bool EditorModel::toggleVoiceOver() {
  if (state_.voiceOverActive) {
    finishVoiceOver(true);
    return true;
  }
  if (!activeSequence()) return false;
  if (!recorder_) return refuse(kCouldNotRecord, "There is no sound input to record from.");
  switch (recorder_->access()) {
    case VoiceOverInput::Access::granted:
      return startVoiceOver();
    case VoiceOverInput::Access::refused:
      return refuse(kMicrophoneNotAllowed, kAllowMicrophone);
    case VoiceOverInput::Access::notAsked:
      break;
  }
  std::weak_ptr<EditorModel*> weak = alive_;
  recorder_->requestAccess([weak](bool granted) {
    const auto alive = weak.lock();
    if (!alive) return;
    EditorModel& editor = **alive;
    // Only a refusal is worth an alert; a grant simply starts the take.
    if (!granted) return editor.showAlert(kMicrophoneNotAllowed, kAllowMicrophone);
    if (!editor.state_.voiceOverActive && editor.activeSequence()) (void)editor.startVoiceOver();
  });
  return true;
}

bool EditorModel::startVoiceOver() {
  if (!recorder_) return false;
  auto started = recorder_->start();
  if (!started) {
    if (started.error().refused) return refuse(kMicrophoneNotAllowed, kAllowMicrophone);
    return refuse(kCouldNotRecord, started.error().message);
  }
  voStart_ = state_.playhead;
  voProject_ = project().id;
  voSequence_ = activeSequence()->id;
  // Opening or starting another document ends the take; the file is kept.
  voWatch_ = subscribe([this](Field field) {
    if (field == Field::project && state_.voiceOverActive && project().id != voProject_) finishVoiceOver(false);
  });
  setVoiceOverActive(true);
  setStatus(kRecordingStatus);
  return true;
}

void EditorModel::finishVoiceOver(bool place) {
  if (!state_.voiceOverActive) return;
  unsubscribe(voWatch_);
  voWatch_ = 0;
  auto file = recorder_->stop();
  setVoiceOverActive(false);
  if (!file) return showAlert(kCouldNotRecord, file.error());
  if (!place) return setStatus("The voice-over was kept in " + file->parent_path().string());
  placeVoiceOver(*file);
}

void EditorModel::placeVoiceOver(const std::filesystem::path& file) {
  if (!voiceOverProber_) return showAlert(kCouldNotImport, MediaError::unreadable(file.filename().string()).message);
  auto probed = voiceOverProber_->probe(file);
  if (!probed) return showAlert(kCouldNotImport, probed.error().message);
  const MediaItem item = std::move(probed).value();
  const std::int64_t at = voStart_;
  const Uuid sequenceID = voSequence_;

  // The media item, the track and the clip arrive together, so one undo
  // takes the whole take back out.
  (void)edit(kVoiceOverEdit, false, true, [&](Project& working) {
    working.media.push_back(item);
    BrevSequence* seq = nullptr;
    for (std::size_t i = 0; i < working.sequences.size() && !seq; ++i)
      if (working.sequences[i].id == sequenceID) seq = &working.sequences.mut(i);
    if (!seq) seq = working.mutableActiveSequence();
    if (!seq) return;

    std::int64_t index = -1;
    for (std::size_t i = 0; i < seq->audio.size() && index < 0; ++i)
      if (seq->audio[i].name == kVoiceOverTrack) index = static_cast<std::int64_t>(i);
    if (index < 0) {
      index = static_cast<std::int64_t>(seq->audio.size());
      seq->audio.push_back(Track::make(TrackKind::audio, kVoiceOverTrack));
    }
    const std::optional<std::int64_t> limit = item.sourceLimit(seq->rate);
    const std::int64_t length = limit.value_or(1);
    Clip clip = Clip::make(ClipSource::media(item.id), item.name, at, length, 0, limit);
    overwrite(*seq, {Placement{TrackRef{TrackKind::audio, index}, std::move(clip)}}, at);
  });
  setStatus("Ready");
}

}  // namespace brevelan
