#include "app/terminal_progress.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <string>

namespace brevelan {
namespace {

std::atomic<bool> gInterrupted{false};

extern "C" void onInterrupt(int) { gInterrupted = true; }

// The handler, with the flag cleared before it can be raised.
void (*clearedHandler())(int) {
  gInterrupted = false;
  return onInterrupt;
}

}  // namespace

ProgressBar::ProgressBar() : shown_(::isatty(STDERR_FILENO) == 1) {}

void ProgressBar::show(double fraction) {
  if (!shown_) return;
  const auto now = std::chrono::steady_clock::now();
  if (fraction < 1 && now - last_ < std::chrono::milliseconds(100)) return;
  last_ = now;
  const int filled = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 30);
  std::fprintf(stderr, "\r[%s%s] %3d %%", std::string(static_cast<std::size_t>(filled), '#').c_str(),
               std::string(static_cast<std::size_t>(30 - filled), '-').c_str(),
               static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100));
  std::fflush(stderr);
  drawn_ = true;
}

void ProgressBar::end() {
  if (drawn_) std::fputs("\n", stderr);
}

InterruptGuard::InterruptGuard() : handlers_({SIGINT, SIGTERM}, clearedHandler()) {}

bool InterruptGuard::interrupted() { return gInterrupted; }

}  // namespace brevelan
