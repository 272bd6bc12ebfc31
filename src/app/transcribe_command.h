#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace brevelan {

// `brevelan transcribe PROJECT [--save OUT]` (`args` start after "transcribe"):
// Transcribe on the project's open sequence, heard on this computer. Without
// --save the new captions are printed as SubRip text; with it the project is
// written to OUT. The status goes to stderr (to stdout with --save). A
// progress bar shows on a terminal; Ctrl-C cancels. Returns 0 done, 1 failed
// or cancelled, 2 wrong command line.
int runTranscribeCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace brevelan
