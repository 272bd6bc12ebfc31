#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "captions/transcriber.h"

namespace brevelan {

// Speech recognition with PocketSphinx and its US-English model. Everything
// happens in this process: there is no permission to ask for, and recognition
// is always on-device. The sound is read with FFmpeg, so any file with a sound
// stream will do; it is listened to at 16 kHz mono, one stretch between pauses
// at a time, and each task runs on a thread of its own.
class PocketSphinxEngine final : public SpeechEngine {
 public:
  static constexpr const char* kLocale = "en-US";

  // The models folder of the installed package (it holds "en-us/").
  static std::filesystem::path defaultModels();

  explicit PocketSphinxEngine(std::filesystem::path models = defaultModels());

  SpeechPermission authorizationStatus() const override { return SpeechPermission::authorized; }
  // en-US (also written en_US or en-us) when its model is installed; null otherwise.
  std::shared_ptr<LocaleRecognizer> recognizer(const std::string& locale) override;

  // Whether the acoustic model, language model and dictionary are all there.
  bool modelInstalled() const;

 private:
  std::filesystem::path models_;
};

}  // namespace brevelan
