#include <memory>
#include <string>
#include <utility>

#include "edit/editor_model.h"

namespace brevelan {
namespace {

constexpr const char* kUnavailable = "Speech recognition unavailable";
constexpr const char* kOff = "Speech recognition is off";
constexpr const char* kFailed = "Transcription failed";

std::string madeStatus(std::size_t captions, std::size_t words) {
  return "Made " + std::to_string(captions) + (captions == 1 ? " caption" : " captions") + " from " +
         std::to_string(words) + (words == 1 ? " word" : " words");
}

}  // namespace

bool EditorModel::transcribe() {
  if (!activeSequence() || transcribing_) return false;
  if (!services_.speech)
    return refuse(kUnavailable, std::string("No speech recognizer for ") + kSpeechLocale + ".");
  const SpeechCaptioner::Availability availability = services_.speech->availability(kSpeechLocale);
  switch (availability.access) {
    case SpeechCaptioner::Access::ready:
      return startTranscription();
    case SpeechCaptioner::Access::unavailable:
      return refuse(kUnavailable, availability.message);
    case SpeechCaptioner::Access::needsPermission:
      break;
  }
  std::weak_ptr<EditorModel*> weak = alive_;
  services_.speech->requestPermission([weak](bool granted) {
    const auto alive = weak.lock();
    if (!alive) return;
    EditorModel& editor = **alive;
    if (!granted) return editor.showAlert(kOff, "Allow Vael Brevelan in the system's privacy settings.");
    // Permission given; the recognizer may still be missing for the language.
    const auto now = editor.services_.speech->availability(kSpeechLocale);
    if (now.access == SpeechCaptioner::Access::ready) (void)editor.startTranscription();
    else if (now.access == SpeechCaptioner::Access::unavailable) editor.showAlert(kUnavailable, now.message);
    else editor.showAlert(kOff, "Allow Vael Brevelan in the system's privacy settings.");
  });
  return true;
}

bool EditorModel::startTranscription() {
  const BrevSequence* sequence = activeSequence();
  if (!sequence || transcribing_) return false;
  transcribing_ = true;
  transcriptionCancelled_ = false;
  setBusy(std::string(kListening));
  setBusyProgress(0);
  std::weak_ptr<EditorModel*> weak = alive_;
  const Uuid id = sequence->id;
  services_.speech->transcribe(
      project(), *sequence, kSpeechLocale,
      [weak](double progress) {
        if (const auto alive = weak.lock(); alive && (*alive)->transcribing_) (*alive)->setBusyProgress(progress);
      },
      [weak, id](Expected<SpeechCaptioner::Lines, std::string> lines) {
        if (const auto alive = weak.lock()) (*alive)->finishTranscription(id, std::move(lines));
      });
  return true;
}

void EditorModel::cancelTranscription() {
  if (!transcribing_ || transcriptionCancelled_) return;
  transcriptionCancelled_ = true;
  services_.speech->cancel();
}

void EditorModel::finishTranscription(const Uuid& sequence, Expected<SpeechCaptioner::Lines, std::string> lines) {
  if (!transcribing_) return;
  transcribing_ = false;
  setBusy(std::nullopt);
  if (transcriptionCancelled_) return setStatus("Transcription cancelled");
  if (!lines) return showAlert(kFailed, lines.error());
  const std::string status = madeStatus(lines->captions.size(), lines->words);
  // Silence gives no lines; the captions there were stay.
  if (!lines->captions.empty()) {
    // The captions go to the sequence that was heard, even if another one is open now.
    (void)edit(kTranscribe, false, true, [&](Project& working) {
      for (std::size_t i = 0; i < working.sequences.size(); ++i)
        if (working.sequences[i].id == sequence) working.sequences.mut(i).captions = SharedList<Caption>(lines->captions);
    });
  }
  setStatus(status);
}

}  // namespace brevelan
