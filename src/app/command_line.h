#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace brevelan {

// Runs one headless subcommand (`args` excludes the program name) and returns
// the process exit code: 0 done, 1 the work failed, 2 the command line was wrong.
int runCommandLine(const std::vector<std::string>& args, std::istream& in, std::ostream& out, std::ostream& err);

}  // namespace brevelan
