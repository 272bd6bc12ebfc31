#pragma once

#include <chrono>

#include "app/signal_handlers.h"

namespace brevelan {

// "[#####-----]  42 %" on stderr, redrawn in place at most ten times a
// second; nothing when stderr is not a terminal.
class ProgressBar {
 public:
  ProgressBar();
  void show(double fraction);
  // Ends the line, if anything was drawn.
  void end();

 private:
  bool shown_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point last_{};
};

// While alive, Ctrl-C and a polite kill (SIGTERM) only raise a flag the long
// command polls, so it can stop cleanly (removing unfinished files) instead of
// dying mid-write.
class InterruptGuard {
 public:
  InterruptGuard();

  static bool interrupted();

 private:
  ScopedSignalHandlers handlers_;
};

}  // namespace brevelan
