#pragma once

#include <string>
#include <vector>

namespace brevelan {

// Opens the editor window and runs until it is closed: the file named in
// `args` (a .brevelan project), or the sample project when nothing is named.
int runEditor(int argc, char** argv);

}  // namespace brevelan
