#pragma once

#include <functional>
#include <memory>
#include <string>

#include "captions/transcriber.h"
#include "edit/editor_services.h"
#include "model/serial_queue.h"

namespace brevelan {

// Transcribe's recognizer for the editor: the sequence's mix written to a
// temporary "vael-brevelan-speech-<UUID>.wav", heard by the speech engine on
// this computer (never uploaded), the words made into caption lines of at
// most 42 characters and 5 seconds.
class LocalSpeechCaptioner final : public SpeechCaptioner {
 public:
  // Runs work on the editor's main thread; safe to call from any thread.
  using Post = std::function<void(std::function<void()>)>;
  static constexpr double kTimeoutSeconds = 600;
  static constexpr const char* kFilePrefix = "vael-brevelan-speech-";

  // Without an engine: PocketSphinx with its installed English model.
  explicit LocalSpeechCaptioner(Post toMain, std::shared_ptr<SpeechEngine> engine = nullptr);
  ~LocalSpeechCaptioner() override;

  Availability availability(const std::string& locale) override;
  void requestPermission(std::function<void(bool granted)> done) override;
  void transcribe(const Project& project, const BrevSequence& sequence, const std::string& locale,
                  Progress progress, Done done) override;
  void cancel() override;

 private:
  struct Run;

  Post toMain_;
  std::unique_ptr<Transcriber> transcriber_;
  std::shared_ptr<Run> current_;
  // Renders the mix off the main thread; declared last so it stops first.
  SerialQueue queue_{"vael.brevelan.transcribe"};
};

}  // namespace brevelan
