#pragma once

#include <QObject>

#include <functional>
#include <memory>

#include "app/signal_handlers.h"

class QSocketNotifier;

namespace brevelan {

// Turns SIGTERM, SIGINT and SIGHUP (a logout, a kill, Ctrl-C in the launching
// terminal) into a call on the Qt main thread, so the editor can keep its
// unsaved work and end the way a quit does instead of dying mid-write. The
// previous handlers come back when the watch goes. One watch at a time.
class TerminationWatch : public QObject {
 public:
  explicit TerminationWatch(std::function<void(int signal)> onSignal, QObject* parent = nullptr);
  ~TerminationWatch() override;
  TerminationWatch(const TerminationWatch&) = delete;
  TerminationWatch& operator=(const TerminationWatch&) = delete;

 private:
  std::function<void(int)> onSignal_;
  int fds_[2] = {-1, -1};  // the handler writes to [1], the main thread reads [0]
  std::unique_ptr<ScopedSignalHandlers> handlers_;
  QSocketNotifier* notifier_ = nullptr;
};

}  // namespace brevelan
