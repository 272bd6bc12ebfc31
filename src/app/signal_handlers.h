#pragma once

#include <csignal>
#include <initializer_list>
#include <vector>

namespace brevelan {

// While alive, `handler` answers the given signals; the handlers they had
// before come back when it goes.
class ScopedSignalHandlers {
 public:
  ScopedSignalHandlers(std::initializer_list<int> signals, void (*handler)(int));
  ~ScopedSignalHandlers();
  ScopedSignalHandlers(const ScopedSignalHandlers&) = delete;
  ScopedSignalHandlers& operator=(const ScopedSignalHandlers&) = delete;

 private:
  struct Previous {
    int signal;
    struct sigaction action;
  };
  std::vector<Previous> previous_;
};

}  // namespace brevelan
