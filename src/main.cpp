#include <iostream>
#include <string>
#include <vector>

#include "app/command_line.h"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty()) {
    // The editor window comes with the application shell; until then the
    // headless commands are the way in.
    std::cerr << "brevelan: the editor window is not available in this build; showing the commands.\n";
  }
  return brevelan::runCommandLine(args, std::cin, std::cout, std::cerr);
}
