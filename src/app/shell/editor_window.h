#pragma once

#include <string>
#include <vector>

namespace brevelan {

// Opens the editor window and runs until it is closed: the file named in
// `args` (a .brevelan project), or the sample project when nothing is named.
int runEditor(int argc, char** argv);

// `brevelan screenshot PROJECT -o PNG [--workspace NAME] [--at FRAME] [--size WxH]`:
// opens the project in the window off screen, waits for its picture and
// writes what the window shows. For reviewing the interface without a display.
int runScreenshot(int argc, char** argv);

}  // namespace brevelan
