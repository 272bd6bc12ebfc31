#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "model/expected.h"

namespace brevelan {

// Writes interleaved stereo 32-bit float sound at 48 000 Hz as a Core Audio
// Format file (linear PCM, float, interleaved), replacing any file there. The
// stems of the mixer and the temporary mixes of delivery are kept this way:
// no encoding, and FFmpeg reads them back exactly. A buffer of fewer than
// two floats gives a valid file without sound.
Expected<void, std::string> writeCAF(std::span<const float> interleaved, const std::filesystem::path& file);

}  // namespace brevelan
