#pragma once

#include <string>

#include "model/project.h"

namespace brevelan {

// A few lines describing a project for the terminal: its sequences with size,
// rate, length as timecode and track and clip counts, and its media.
std::string summarize(const Project& project);

}  // namespace brevelan
