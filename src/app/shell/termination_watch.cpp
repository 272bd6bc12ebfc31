#include "app/shell/termination_watch.h"

#include <QSocketNotifier>

#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

namespace brevelan {
namespace {

// The handler may only write to a descriptor; the main thread reads it.
int wakeWrite = -1;

void onSignal(int signal) {
  const int saved = errno;
  const auto byte = static_cast<unsigned char>(signal);
  [[maybe_unused]] const auto written = ::write(wakeWrite, &byte, 1);
  errno = saved;
}

}  // namespace

TerminationWatch::TerminationWatch(std::function<void(int signal)> onSignal, QObject* parent)
    : QObject(parent), onSignal_(std::move(onSignal)) {
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, fds_) != 0) return;
  wakeWrite = fds_[1];
  notifier_ = new QSocketNotifier(fds_[0], QSocketNotifier::Read, this);
  connect(notifier_, &QSocketNotifier::activated, this, [this] {
    unsigned char byte = 0;
    while (::read(fds_[0], &byte, 1) == 1)
      if (onSignal_) onSignal_(byte);
  });
  handlers_ = std::make_unique<ScopedSignalHandlers>(std::initializer_list<int>{SIGTERM, SIGINT, SIGHUP},
                                                     brevelan::onSignal);
}

TerminationWatch::~TerminationWatch() {
  if (fds_[0] < 0) return;
  handlers_.reset();
  wakeWrite = -1;
  delete notifier_;
  ::close(fds_[0]);
  ::close(fds_[1]);
}

}  // namespace brevelan
