#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "deliver/export_preset.h"
#include "model/expected.h"

namespace brevelan {

// Writes an interleaved stereo 48 000 Hz float mix as a sound-only export.
// WAV: 24-bit integer PCM, exactly samples / 2 frames long. M4A: AAC at
// 256 kbit/s whose encoder delay is trimmed by the file's edit list, so the
// sound plays on the mix's own timing (the file may run longer by the AAC
// padding). The container is chosen by `format`, not by the file's name. On
// failure no file is left behind and the error is a readable sentence.
Expected<void, std::string> writeAudio(std::span<const float> samples, const std::filesystem::path& file,
                                       AudioOnlyFormat format);

}  // namespace brevelan
