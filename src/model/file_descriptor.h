#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace brevelan {

// Owns a POSIX file descriptor and closes it when it goes out of scope.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { reset(); }

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  // Closes now and reports the result: a full disk may only show here.
  int close() {
    const int fd = fd_;
    fd_ = -1;
    return ::close(fd);
  }
  void reset() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

 private:
  int fd_;
};

// Writes all `size` bytes, going on after interruptions; 0, or the errno.
inline int writeAll(int fd, const char* data, std::size_t size) {
  for (std::size_t done = 0; done < size;) {
    const ssize_t n = ::write(fd, data + done, size - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    done += static_cast<std::size_t>(n);
  }
  return 0;
}

}  // namespace brevelan
