#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "model/project.h"

namespace brevelan {

// A project for a command that works on its open sequence: loaded from
// `path`, or nothing after one line on `err` saying why (the file's own
// error, or that it has no open sequence).
std::optional<Project> loadWithOpenSequence(const std::string& path, std::ostream& err);

}  // namespace brevelan
