#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

#include "edit/editor_services.h"
#include "model/autosave.h"

namespace brevelan {

// The editor's recovery copies, kept by Autosave. Encoding and writing a large
// project takes a while, so by default the work runs on a worker thread of its
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
  struct Job {
    Uuid projectID;
    std::optional<Project> project;  // absent: discard
    std::optional<std::filesystem::path> originalPath;
  };
  void enqueue(Job job);
  void run(const Job& job) const;
  void work();

  Autosave autosave_;
  Mode mode_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Job> jobs_;
  bool busy_ = false;
  bool stopping_ = false;
  std::thread worker_;
};

}  // namespace brevelan
