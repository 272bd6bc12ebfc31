#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace brevelan {

// `brevelan srt check FILE | import PROJECT FILE [--save OUT] | export PROJECT -o FILE`
// (`args` start after "srt"). Returns 0 done, 1 failed (or, for check, problems
// found), 2 wrong command line.
int runSrtCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace brevelan
