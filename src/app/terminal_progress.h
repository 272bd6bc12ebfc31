#pragma once

#include <signal.h>

#include <chrono>

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
  ~InterruptGuard();
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;

  static bool interrupted();

 private:
  struct sigaction previousInterrupt_ {};
  struct sigaction previousTerminate_ {};
};

}  // namespace brevelan
