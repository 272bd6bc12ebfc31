#include "model/trash.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>

#include "model/app_folders.h"
#include "model/atomic_file.h"

namespace brevelan::Trash {
namespace {

namespace fs = std::filesystem;

// The path as a URL path: bytes outside the unreserved set are %-escaped.
std::string escaped(const std::string& path) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (char c : path) {
    const auto b = static_cast<unsigned char>(c);
    if ((b >= 'A' && b <= 'Z') || (b >= 'a' && b <= 'z') || (b >= '0' && b <= '9') || std::strchr("-_.~/", b)) {
      out.push_back(c);
    } else {
      out.push_back('%');
      out.push_back(kHex[b >> 4]);
      out.push_back(kHex[b & 0xF]);
    }
  }
  return out;
}

// Local time, as the trash format asks: YYYY-MM-DDThh:mm:ss.
std::string deletionDate() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
  return text;
}

FileError failure(const fs::path& file, int err) {
  const std::string name = curlyQuoted(file.filename().string());
  if (err == EACCES || err == EPERM || err == EROFS)
    return {FileError::Kind::noPermission,
            "The file " + name + " couldn’t be moved to the Trash because you don’t have permission to access it."};
  if (err == ENOENT)
    return {FileError::Kind::notFound,
            "The file " + name + " couldn’t be moved to the Trash because there is no such file."};
  return {FileError::Kind::writeFailed,
          "The file " + name + " couldn’t be moved to the Trash (" + std::strerror(err) + ")."};
}

// Claims info/<name>.trashinfo with O_EXCL for the first free name
// ("name", "name.2", …); the claim is what makes the name ours.
std::optional<std::string> claimName(const fs::path& info, const std::string& name, int& err) {
  for (int n = 1; n < 10000; ++n) {
    std::string candidate = name;
    if (n > 1) {
      const fs::path p(name);
      candidate = p.stem().string() + "." + std::to_string(n) + p.extension().string();
    }
    const fs::path claim = info / (candidate + ".trashinfo");
    const int fd = ::open(claim.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd >= 0) {
      ::close(fd);
      return candidate;
    }
    if (errno != EEXIST) {
      err = errno;
      return std::nullopt;
    }
  }
  err = EEXIST;
  return std::nullopt;
}

}  // namespace

Expected<fs::path, FileError> moveToTrash(const fs::path& file) { return moveToTrash(file, AppFolders::trash()); }

Expected<fs::path, FileError> moveToTrash(const fs::path& file, const fs::path& trashFolder) {
  std::error_code ec;
  const fs::path source = fs::absolute(file, ec).lexically_normal();
  if (!fs::exists(fs::symlink_status(source, ec))) return Unexpected{failure(file, ENOENT)};

  const fs::path files = trashFolder / "files";
  const fs::path info = trashFolder / "info";
  fs::create_directories(files, ec);
  if (!ec) fs::create_directories(info, ec);
  if (ec) return Unexpected{failure(file, ec.value())};

  int err = 0;
  const auto name = claimName(info, source.filename().string(), err);
  if (!name) return Unexpected{failure(file, err)};
  const fs::path infoFile = info / (*name + ".trashinfo");
  const fs::path target = files / *name;

  const std::string record =
      "[Trash Info]\nPath=" + escaped(source.string()) + "\nDeletionDate=" + deletionDate() + "\n";
  if (auto written = writeFileAtomically(infoFile, record); !written) {
    fs::remove(infoFile, ec);
    return Unexpected{written.error()};
  }
  if (::rename(source.c_str(), target.c_str()) != 0) {
    int err = errno;
    if (err == EXDEV) {
      // Another file system: copy, and remove the original only once the copy is whole.
      std::error_code copyError;
      if (fs::copy_file(source, target, copyError) && !copyError) {
        fs::remove(source, ec);
        return target;
      }
      err = copyError ? copyError.value() : EIO;
      fs::remove(target, ec);
    }
    fs::remove(infoFile, ec);
    return Unexpected{failure(file, err)};
  }
  return target;
}

}  // namespace brevelan::Trash
