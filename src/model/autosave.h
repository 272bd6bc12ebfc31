#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/date.h"
#include "model/expected.h"
#include "model/file_error.h"
#include "model/project.h"

namespace brevelan {

// One recovery copy: the whole document, the project file it belongs to
// (absent for a project never saved) and when the copy was written.
struct AutosaveRecord {
  Project project;
  std::optional<std::string> originalPath;
  Date saved;

  friend bool operator==(const AutosaveRecord&, const AutosaveRecord&) = default;
};

struct PendingCopy {
  AutosaveRecord record;
  std::filesystem::path location;
};

// Recovery copies of unsaved work and the session lock, in one folder
// (AppFolders::autosave() for the application): "<PROJECT-UUID>.autosave"
// per project, compact JSON, and "session.lock" holding the running
// process's id while a session is open. The folder is made on first write.
class Autosave {
 public:
  static constexpr const char* kExtension = ".autosave";
  static constexpr const char* kLockName = "session.lock";

  explicit Autosave(std::filesystem::path folder) : folder_(std::move(folder)) {}
  // The application's own Autosave folder.
  static Autosave standard();

  const std::filesystem::path& folder() const { return folder_; }
  std::filesystem::path location(const Uuid& projectID) const;

  // Writes or replaces the project's recovery copy, stamped now, atomically.
  Expected<void, FileError> write(const Project& project,
                                  const std::optional<std::filesystem::path>& originalPath) const;
  // Every copy in the folder that decodes, newest first; the rest are not offered.
  std::vector<PendingCopy> pending() const;
  // Deletes the project's copy, if any (after the project was saved).
  void discard(const Uuid& projectID) const;
  // Moves one copy to the user's trash (the user discarded it); never deletes it.
  Expected<std::filesystem::path, FileError> trash(const std::filesystem::path& location) const;

  // At launch: whether the previous session ended without endSession — the
  // lock names a process that no longer exists. Then takes the lock for this
  // process. A missing lock, or one that holds no process id, is a normal end;
  // a lock of a running process (another instance) is not a crash.
  bool beginSession() const;
  // At a normal quit: removes the lock.
  void endSession() const;

  // The file form of a record: JSON with the fields in record order, not
  // pretty-printed; the project inside is encoded as in the project file.
  static std::string encode(const AutosaveRecord& record);
  static std::optional<AutosaveRecord> decode(std::string_view bytes);

 private:
  std::filesystem::path folder_;
};

}  // namespace brevelan
