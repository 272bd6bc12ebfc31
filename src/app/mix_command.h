#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace brevelan {

// `brevelan mix PROJECT -o FILE.wav` (`args` start after "mix"): the full mix
// of the active sequence as 48 kHz stereo 32-bit float WAV. Returns 0 done,
// 1 failed, 2 wrong command line.
int runMixCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace brevelan
