#include "model/atomic_file.h"
#include "model/file_descriptor.h"
#include "model/file_error.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <random>

namespace brevelan {
namespace {

namespace fs = std::filesystem;

std::string folderName(const fs::path& file) {
  fs::path folder = fs::absolute(file).parent_path();
  std::string name = folder.filename().string();
  return name.empty() ? folder.string() : name;
}

FileError writeError(int err, const fs::path& path) {
  const std::string file = curlyQuoted(path.filename().string());
  const std::string folder = curlyQuoted(folderName(path));
  switch (err) {
    case EACCES:
    case EPERM:
    case EROFS:
      return {FileError::Kind::noPermission,
              "You don’t have permission to save the file " + file + " in the folder " + folder + "."};
    case ENOENT:
    case ENOTDIR:
      return {FileError::Kind::writeFailed,
              "The file " + file + " couldn’t be saved because the folder " + folder + " doesn’t exist."};
    case EISDIR:
      return {FileError::Kind::isFolder,
              "The file " + file + " couldn’t be saved because a folder with that name is in the way."};
    case ENOSPC:
    case EDQUOT:
      return {FileError::Kind::writeFailed,
              "The file " + file + " couldn’t be saved because there isn’t enough space on the disk."};
    default:
      return {FileError::Kind::writeFailed,
              "The file " + file + " couldn’t be saved (" + std::strerror(err) + ")."};
  }
}

std::string randomSuffix() {
  thread_local std::mt19937_64 engine{std::random_device{}()};
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string suffix;
  auto bits = engine();
  for (int i = 0; i < 12; ++i, bits >>= 4) suffix.push_back(kDigits[bits & 0xF]);
  return suffix;
}

}  // namespace

Expected<void, FileError> writeFileAtomically(const fs::path& path, std::string_view bytes) {
  std::error_code ec;
  if (fs::is_directory(path, ec)) return Unexpected{writeError(EISDIR, path)};

  const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
  fs::path temporary;
  int fd = -1;
  for (int attempt = 0; attempt < 16 && fd < 0; ++attempt) {
    // Appended piece by piece: GCC 12 warns falsely on "." + std::string&& (PR 105329).
    std::string name = ".";
    name += path.filename().string();
    name += ".saving-";
    name += randomSuffix();
    temporary = folder / name;
    fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && errno != EEXIST) return Unexpected{writeError(errno, path)};
  }
  if (fd < 0) return Unexpected{writeError(EEXIST, path)};
  FileDescriptor file(fd);

  auto failWith = [&](int err) {
    file.reset();
    ::unlink(temporary.c_str());
    return Unexpected{writeError(err, path)};
  };

  // Keep the permissions of the file being replaced.
  struct stat old {};
  if (::stat(path.c_str(), &old) == 0) ::fchmod(file.get(), old.st_mode & 07777);

  if (int err = writeAll(file.get(), bytes.data(), bytes.size()); err != 0) return failWith(err);
  if (::fsync(file.get()) != 0) return failWith(errno);
  if (file.close() != 0) return failWith(errno);
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    int err = errno;
    ::unlink(temporary.c_str());
    return Unexpected{writeError(err, path)};
  }
  // Make the rename itself durable; a failure here does not undo the save.
  FileDescriptor dir(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (dir.valid()) ::fsync(dir.get());
  return {};
}

Expected<std::string, FileError> readWholeFile(const fs::path& path) {
  const std::string file = curlyQuoted(path.filename().string());
  auto failure = [&](int err) -> Unexpected<FileError> {
    switch (err) {
      case ENOENT:
      case ENOTDIR:
        return {{FileError::Kind::notFound, "The file " + file + " couldn’t be opened because there is no such file."}};
      case EACCES:
      case EPERM:
        return {{FileError::Kind::noPermission,
                 "The file " + file + " couldn’t be opened because you don’t have permission to view it."}};
      case EISDIR:
        return {{FileError::Kind::isFolder,
                 "The file " + file + " couldn’t be opened because it is a folder, not a file."}};
      default:
        return {{FileError::Kind::readFailed,
                 "The file " + file + " couldn’t be read (" + std::strerror(err) + ")."}};
    }
  };

  FileDescriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd.valid()) return failure(errno);
  struct stat info {};
  if (::fstat(fd.get(), &info) != 0) return failure(errno);
  if (S_ISDIR(info.st_mode)) return failure(EISDIR);

  std::string bytes;
  if (info.st_size > 0) bytes.reserve(static_cast<std::size_t>(info.st_size));
  char buffer[1 << 16];
  for (;;) {
    ssize_t n = ::read(fd.get(), buffer, sizeof buffer);
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      return failure(errno);
    }
    bytes.append(buffer, static_cast<std::size_t>(n));
  }
  return bytes;
}

}  // namespace brevelan
