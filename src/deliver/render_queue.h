#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "deliver/export_preset.h"
#include "deliver/exporter.h"
#include "model/project.h"
#include "model/serial_queue.h"

namespace brevelan {

// One export waiting, running or finished, with its own snapshot of the
// project so later edits never change it. Its fields change on the interface
// thread only, apart from `cancelRequested`, which the export reads.
struct RenderJob {
  enum class Status { waiting, rendering, done, cancelled, failed };

  Uuid id = Uuid::make();
  std::string name;
  ExportPreset preset;
  std::filesystem::path url;
  Project project;
  BrevSequence sequence;
  bool burnCaptions = false;
  Reframe reframe = Reframe::fit;

  Status status = Status::waiting;
  std::string failure;  // the export error's text when failed
  double progress = 0;
  double seconds = 0;
  std::atomic<bool> cancelRequested{false};
};

// Exports one job at a time on its own worker ("vael.brevelan.renderqueue")
// while the user goes on editing. Jobs, their status and progress change only
// on the interface thread, reached through `post`; progress arrives there at
// most ten times a second. A failed or cancelled job never stops the queue.
class RenderQueue {
 public:
  using Post = std::function<void(std::function<void()>)>;
  using Export = std::function<Expected<void, ExportError>(RenderJob&, const Exporter::Progress&)>;

  // `post` runs work on the interface thread; `exporter` is the real
  // exporter unless a test hands in another.
  explicit RenderQueue(Post post, Export exporter = {});
  ~RenderQueue();

  // Appends a waiting job (and starts it when the queue is idle).
  std::shared_ptr<RenderJob> add(std::shared_ptr<RenderJob> job);
  // Starts the next waiting job unless one is running.
  void runNext();
  void cancel(const Uuid& job);
  // Drops done, failed and cancelled jobs; waiting and running ones stay.
  void clearFinished();

  const std::vector<std::shared_ptr<RenderJob>>& jobs() const { return jobs_; }
  bool running() const { return running_; }
  // Called on the interface thread whenever a job's status or progress changes.
  std::function<void(const RenderJob&)> onChange;
  // Called on the interface thread with each job when it ends.
  std::function<void(const RenderJob&)> onFinish;

  // What an empty queue shows.
  static constexpr std::string_view kNothingQueued = "Nothing queued. Pick a preset and press Add to Render Queue.";

 private:
  void finished(const std::shared_ptr<RenderJob>& job, const Expected<void, ExportError>& result, double seconds);

  Post post_;
  Export export_;
  std::vector<std::shared_ptr<RenderJob>> jobs_;
  bool running_ = false;
  std::shared_ptr<std::atomic<bool>> alive_ = std::make_shared<std::atomic<bool>>(true);
  SerialQueue worker_{"vael.brevelan.renderqueue"};  // last: stopped first
};

}  // namespace brevelan
