#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "model/expected.h"

namespace brevelan {

// The sound of a whole file as interleaved stereo 32-bit float at 48 000 Hz:
// a mono stream plays on both channels at its own level, more than two
// channels are folded down to two. The first sound stream is read.
Expected<std::vector<float>, std::string> decodeSound(const std::filesystem::path& file);

}  // namespace brevelan
