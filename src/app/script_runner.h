#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>

namespace brevelan {

// `brevelan script`: reads one JSON command a line, applies each to the
// project's active sequence through the editor (so every command is named,
// undoable and counted) and prints one JSON line per command. A bad line is
// reported and the run goes on; the exit code is then 1.
int runScript(const std::filesystem::path& project, const std::optional<std::filesystem::path>& saveTo,
              std::istream& in, std::ostream& out, std::ostream& err);

// The operations and their arguments, for `brevelan script --help`.
std::string scriptHelp();

}  // namespace brevelan
