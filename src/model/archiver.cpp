#include "model/archiver.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "model/file_descriptor.h"
#include "model/file_names.h"
#include "model/project_file.h"

namespace brevelan::Archiver {
namespace {

namespace fs = std::filesystem;

std::string folderName(const fs::path& folder) {
  const std::string name = folder.filename().string();
  return curlyQuoted(name.empty() ? folder.string() : name);
}

// A project name made safe as one file name.
std::string fileSafe(std::string name) {
  std::replace(name.begin(), name.end(), '/', '-');
  if (name.empty() || name == "." || name == "..") name = "Untitled Project";
  return name;
}

FileError copyError(const fs::path& file, int err) {
  const std::string name = curlyQuoted(file.filename().string());
  switch (err) {
    case ENOENT:
    case ENOTDIR:
      return {FileError::Kind::notFound, "The file " + name + " couldn’t be archived because it is not at " +
                                             curlyQuoted(file.string()) + ". Relink it first (Media ▸ Relink)."};
    case EACCES:
    case EPERM:
      return {FileError::Kind::noPermission,
              "The file " + name + " couldn’t be archived because you don’t have permission to read it."};
    case EROFS:
      return {FileError::Kind::noPermission,
              "The file " + name + " couldn’t be copied into the archive because the disk is read-only."};
    case ENOSPC:
    case EDQUOT:
      return {
          FileError::Kind::writeFailed,
          "The file " + name + " couldn’t be copied into the archive because there isn’t enough space on the disk."};
    default:
      return {FileError::Kind::writeFailed,
              "The file " + name + " couldn’t be copied into the archive (" + std::strerror(err) + ")."};
  }
}

FileError folderError(const fs::path& folder, int err) {
  const std::string name = curlyQuoted(folder.filename().string());
  const std::string parent = folderName(folder.parent_path());
  switch (err) {
    case EACCES:
    case EPERM:
    case EROFS:
      return {FileError::Kind::noPermission,
              "You don’t have permission to make the archive folder " + name + " in the folder " + parent + "."};
    case ENOENT:
    case ENOTDIR:
      return {FileError::Kind::notFound,
              "The archive couldn’t be made because the folder " + parent + " doesn’t exist."};
    case ENOSPC:
    case EDQUOT:
      return {FileError::Kind::writeFailed,
              "The archive folder " + name + " couldn’t be made because there isn’t enough space on the disk."};
    default:
      return {FileError::Kind::writeFailed,
              "The archive folder " + name + " couldn’t be made (" + std::strerror(err) + ")."};
  }
}

// One file to copy into the archive and where its copy goes.
struct Copy {
  fs::path source;
  fs::path target;
  std::uintmax_t size = 0;
};

// Gives each distinct source file a distinct name in `folder`:
// "clip.mov", then "clip 2.mov", "clip 3.mov".
class Names {
 public:
  explicit Names(fs::path folder) : folder_(std::move(folder)) {}

  const fs::path& targetFor(const std::string& source) {
    if (auto found = targets_.find(source); found != targets_.end()) return found->second;
    const fs::path original = fs::path(source).filename();
    std::string name = original.string().empty() ? "file" : original.string();
    for (int n = 2; taken_.contains(lowercased(name)); ++n)
      name = original.stem().string() + " " + std::to_string(n) + original.extension().string();
    taken_.insert(lowercased(name));
    order_.push_back(source);
    return targets_.emplace(source, folder_ / name).first->second;
  }
  const fs::path& target(const std::string& source) const { return targets_.at(source); }
  const std::vector<std::string>& sources() const { return order_; }

 private:
  fs::path folder_;
  std::map<std::string, fs::path> targets_;
  std::set<std::string> taken_;
  std::vector<std::string> order_;
};

// Copies in pieces so progress moves during a large file; errno on failure.
int copyFile(const Copy& copy, const std::function<void(std::uintmax_t)>& advanced) {
  FileDescriptor in(::open(copy.source.c_str(), O_RDONLY | O_CLOEXEC));
  if (in.get() < 0) return errno;
  struct stat info {};
  if (::fstat(in.get(), &info) != 0) return errno;
  if (S_ISDIR(info.st_mode)) return EISDIR;
  FileDescriptor out(::open(copy.target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  if (out.get() < 0) return errno;

  std::vector<char> buffer(1 << 20);
  for (;;) {
    const ssize_t n = ::read(in.get(), buffer.data(), buffer.size());
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (int err = writeAll(out.get(), buffer.data(), static_cast<std::size_t>(n)); err != 0) return err;
    advanced(static_cast<std::uintmax_t>(n));
  }
  // A full disk may only show when the data reach it.
  if (::fsync(out.get()) != 0) return errno;
  if (out.close() != 0) return errno;
  return 0;
}

// Makes "<name> (Archive)", or the first free " (Archive N)".
Expected<fs::path, FileError> makeArchiveFolder(const fs::path& parent, const std::string& name) {
  std::error_code ec;
  if (!fs::is_directory(parent, ec))
    return Unexpected{FileError{FileError::Kind::notFound, "The archive couldn’t be made because the folder " +
                                                               folderName(parent) + " doesn’t exist."}};
  for (int n = 1;; ++n) {
    const fs::path folder = parent / (name + (n == 1 ? " (Archive)" : " (Archive " + std::to_string(n) + ")"));
    if (fs::exists(fs::symlink_status(folder, ec))) continue;
    if (::mkdir(folder.c_str(), 0755) == 0) return folder;
    if (errno != EEXIST) return Unexpected{folderError(folder, errno)};
  }
}

}  // namespace

Expected<fs::path, FileError> collect(const Project& project, const fs::path& parentFolder, const Progress& progress) {
  const auto report = [&](double fraction) {
    if (progress) progress(fraction);
  };
  report(0);

  std::error_code ec;
  const fs::path parent = fs::absolute(parentFolder, ec).lexically_normal();
  const std::string name = fileSafe(project.name);
  auto made = makeArchiveFolder(parent, name);
  if (!made) return Unexpected{made.error()};
  const fs::path folder = *made;
  // Whatever happens next, a failed archive leaves nothing that looks finished.
  const auto fail = [&](FileError error) -> Expected<fs::path, FileError> {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
    return Unexpected{std::move(error)};
  };

  for (const char* sub : {"Media", "LUTs"})
    if (::mkdir((folder / sub).c_str(), 0755) != 0) return fail(folderError(folder / sub, errno));

  // The copy of the project, pointed at the copies.
  Project archived = project;
  Names media(folder / "Media");
  for (std::size_t i = 0; i < archived.media.size(); ++i)
    archived.media.mut(i).path = media.targetFor(archived.media[i].path).string();

  Names luts(folder / "LUTs");
  for (std::size_t s = 0; s < archived.sequences.size(); ++s) {
    BrevSequence& sequence = archived.sequences.mut(s);
    for (SharedList<Track>* tracks : {&sequence.video, &sequence.audio})
      for (std::size_t t = 0; t < tracks->size(); ++t)
        for (std::size_t c = 0; c < (*tracks)[t].clips.size(); ++c)
          if (const auto& lut = (*tracks)[t].clips[c].grade->lutPath)
            tracks->mut(t).clips.mut(c).grade.mut().lutPath = luts.targetFor(*lut).string();
  }

  std::vector<Copy> copies;
  std::uintmax_t total = 0;
  for (const Names* names : {&media, &luts}) {
    for (const std::string& source : names->sources()) {
      Copy copy{source, names->target(source), 0};
      struct stat info {};
      if (::stat(copy.source.c_str(), &info) != 0) return fail(copyError(copy.source, errno));
      copy.size = static_cast<std::uintmax_t>(info.st_size);
      total += copy.size;
      copies.push_back(std::move(copy));
    }
  }

  // The project file counts as a last small step so that 1 means saved.
  const double all = static_cast<double>(total) + 1;
  std::uintmax_t done = 0;
  for (const Copy& copy : copies) {
    const int err = copyFile(copy, [&](std::uintmax_t bytes) {
      done += bytes;
      report(static_cast<double>(std::min(done, total)) / all);
    });
    if (err != 0) return fail(copyError(copy.source, err));
  }

  const fs::path projectFile = folder / (name + ProjectFile::kExtension);
  if (auto saved = ProjectFile::save(archived, projectFile); !saved) return fail(saved.error());
  report(1);
  return projectFile;
}

}  // namespace brevelan::Archiver
