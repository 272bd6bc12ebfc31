#include "app/shell/termination_watch.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace brevelan {
namespace {

constexpr std::array kSignals{SIGTERM, SIGINT, SIGHUP};

// The handler may only write to a descriptor; the main thread reads it.
int wakeWrite = -1;

void onSignal(int signal) {
  const int saved = errno;
  const auto byte = static_cast<unsigned char>(signal);
  [[maybe_unused]] const auto written = ::write(wakeWrite, &byte, 1);
  errno = saved;
}

}  // namespace

struct TerminationWatch::Saved {
  int fds[2] = {-1, -1};
  std::array<struct sigaction, kSignals.size()> previous{};
};

TerminationWatch::TerminationWatch(std::function<void(int signal)> onSignal, QObject* parent)
    : QObject(parent), onSignal_(std::move(onSignal)), saved_(std::make_unique<Saved>()) {
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, saved_->fds) != 0) return;
  wakeWrite = saved_->fds[1];
  notifier_ = new QSocketNotifier(saved_->fds[0], QSocketNotifier::Read, this);
  connect(notifier_, &QSocketNotifier::activated, this, [this] {
    unsigned char byte = 0;
    while (::read(saved_->fds[0], &byte, 1) == 1)
      if (onSignal_) onSignal_(byte);
  });
  struct sigaction action{};
  action.sa_handler = brevelan::onSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &action, &saved_->previous[i]);
}

TerminationWatch::~TerminationWatch() {
  if (saved_->fds[0] < 0) return;
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &saved_->previous[i], nullptr);
  wakeWrite = -1;
  delete notifier_;
  ::close(saved_->fds[0]);
  ::close(saved_->fds[1]);
}

}  // namespace brevelan
