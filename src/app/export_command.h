#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace brevelan {

// `brevelan export PROJECT --preset ID -o FILE [--burn-captions]
// [--reframe fit|fitBlur|fill]` (`args` start after "export"): the active
// sequence through the exporter. A progress bar shows on a terminal; Ctrl-C
// cancels and leaves no file. Returns 0 done, 1 failed or cancelled, 2 wrong
// command line.
int runExportCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace brevelan
