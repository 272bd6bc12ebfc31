#include <malloc.h>

#include <iostream>
#include <string>
#include <vector>

#include "app/command_line.h"
#include "app/shell/editor_window.h"
#include "app/shell/playbench_command.h"

int main(int argc, char** argv) {
  // Frames of several megabytes are made and dropped dozens of times a
  // second. Keep freed memory in the process rather than handing it back to
  // the system each time: the page faults of fresh memory cost more than
  // drawing into it.
  mallopt(M_MMAP_THRESHOLD, 64 << 20);
  mallopt(M_TRIM_THRESHOLD, 256 << 20);
  std::vector<std::string> args(argv + 1, argv + argc);
  // The commands that need the window's pieces (Qt Widgets, playback).
  if (!args.empty() && args[0] == "screenshot") return brevelan::runScreenshot(argc, argv);
  if (!args.empty() && args[0] == "playbench") return brevelan::runPlaybench(argc, argv);
  // No subcommand, or a project file alone: the editor window.
  if (args.empty() || (args.size() == 1 && args[0].ends_with(".brevelan"))) return brevelan::runEditor(argc, argv);
  return brevelan::runCommandLine(args, std::cin, std::cout, std::cerr);
}
