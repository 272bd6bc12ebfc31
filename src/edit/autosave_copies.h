#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "edit/editor_services.h"
#include "model/autosave.h"
#include "model/serial_queue.h"

namespace brevelan {

// The editor's recovery copies, kept by Autosave. Encoding and writing a large
// project takes a while, so by default the work runs on a serial queue of its
// own, in the order asked: the editor only hands over a snapshot (a cheap
// copy of the document value). A write that fails is dropped silently; the
// next tick writes again. A newer write of a project replaces one still
// waiting, and a discard always follows the writes asked for before it.
class AutosaveCopies final : public RecoveryCopies {
 public:
  enum class Mode { background, immediate };

  explicit AutosaveCopies(Autosave autosave, Mode mode = Mode::background);
  ~AutosaveCopies() override;  // finishes the work already asked for
  AutosaveCopies(const AutosaveCopies&) = delete;
  AutosaveCopies& operator=(const AutosaveCopies&) = delete;

  void write(const Project& project, const std::optional<std::filesystem::path>& originalPath) override;
  void discard(const Uuid& projectID) override;

  // Returns once every job asked for so far is done.
  void wait();
  const Autosave& autosave() const { return autosave_; }

 private:
  struct Snapshot {
    Project project;
    std::optional<std::filesystem::path> originalPath;
  };

  Autosave autosave_;
  std::mutex mutex_;
  // Per project, the snapshot of a write that is queued but not started.
  std::map<Uuid, std::shared_ptr<Snapshot>> waiting_;
  std::unique_ptr<SerialQueue> queue_;  // none in immediate mode
};

}  // namespace brevelan
