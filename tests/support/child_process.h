#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <functional>

namespace brevelan::testing {

// Runs `body` in a child process (after `prepare`, when given) and returns its
// exit code, or 98 when the child did not exit normally.
inline int runInChild(const std::function<int()>& body, const std::function<bool()>& prepare = {}) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(prepare && !prepare() ? 99 : body());
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 98;
}

// Runs `body` without root's privileges (directly when not root), so
// permission checks are real in CI, which runs as root.
inline int runUnprivileged(const std::function<int()>& body) {
  if (::geteuid() != 0) return body();
  return runInChild(body, [] { return ::setgid(65534) == 0 && ::setuid(65534) == 0; });
}

}  // namespace brevelan::testing
