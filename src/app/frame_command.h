#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace brevelan {

// `brevelan frame PROJECT --at FRAME -o OUT.png [--size WxH]
// [--reframe fit|fitBlur|fill] [--burn-captions]` (`args` start after
// "frame"): one frame of the active sequence, drawn by the compositor that
// playback and export use, as a PNG. Returns 0 done, 1 failed, 2 wrong
// command line.
int runFrameCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace brevelan
