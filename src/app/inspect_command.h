#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace brevelan {

// `brevelan inspect FILE` (`args` start after "inspect"): what a finished
// export holds, as one JSON object. 0 done, 1 the file does not open as
// media, 2 wrong command line.
int runInspectCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace brevelan
