#include "app/signal_handlers.h"

namespace brevelan {

ScopedSignalHandlers::ScopedSignalHandlers(std::initializer_list<int> signals, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (const int signal : signals) {
    Previous& saved = previous_.emplace_back(Previous{signal, {}});
    sigaction(signal, &action, &saved.action);
  }
}

ScopedSignalHandlers::~ScopedSignalHandlers() {
  for (const Previous& saved : previous_) sigaction(saved.signal, &saved.action, nullptr);
}

}  // namespace brevelan
