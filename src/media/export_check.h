#pragma once

#include <filesystem>
#include <string>

#include "model/expected.h"

namespace brevelan {

// What a finished movie or sound file holds, read back from its container:
// used to verify exports. Durations are in seconds; a missing stream leaves
// its fields at zero (and `codec` empty).
struct ExportCheck {
  double duration = 0;       // the whole file
  int width = 0;             // of the picture track
  int height = 0;
  double fps = 0;
  double videoDuration = 0;
  double audioDuration = 0;
  bool hasAudio = false;
  bool hasVideo = false;
  std::string codec;         // the picture track's four-character code: avc1, hvc1, apcn…

  // Fails with a readable sentence when the file does not open as media.
  static Expected<ExportCheck, std::string> inspect(const std::filesystem::path& file);
};

}  // namespace brevelan
