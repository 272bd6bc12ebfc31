#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace brevelan {

class MediaProber;

// Headless commands around recovery copies, archives and relinking. `args`
// start after the command word. Each returns 0 done, 1 the work failed,
// 2 the command line was wrong, and writes one-line errors to `err`.

// `brevelan recover --list`: each pending recovery copy, one a line:
// project id, name, when it was saved, and its project file (or "never saved").
// `brevelan recover PROJECT-ID -o OUT.brevelan`: writes that copy's project to OUT.
int runRecoverCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// `brevelan archive PROJECT PARENT-DIR`: prints the archived project's path.
int runArchiveCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// `brevelan relink PROJECT DIR [--save OUT]`: finds the project's missing media
// in DIR and its subfolders; with --save writes the relinked project to OUT.
int runRelinkCommand(const std::vector<std::string>& args, const MediaProber& prober, std::ostream& out,
                     std::ostream& err);

}  // namespace brevelan
