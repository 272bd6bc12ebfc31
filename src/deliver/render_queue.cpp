#include "deliver/render_queue.h"

#include <algorithm>
#include <mutex>

namespace brevelan {
namespace {

constexpr std::chrono::milliseconds kProgressInterval{100};

Expected<void, ExportError> realExport(RenderJob& job, const Exporter::Progress& progress) {
  return Exporter::exportSequence(job.project, job.sequence, job.preset, job.url, job.burnCaptions, job.reframe,
                                  progress);
}

}  // namespace

RenderQueue::RenderQueue(Post post, Export exporter)
    : post_(std::move(post)), export_(exporter ? std::move(exporter) : Export(realExport)) {}

RenderQueue::~RenderQueue() {
  // A running export stops at its next frame; posts after this find the queue gone.
  for (const auto& job : jobs_) job->cancelRequested = true;
  *alive_ = false;
}

std::shared_ptr<RenderJob> RenderQueue::add(std::shared_ptr<RenderJob> job) {
  job->status = RenderJob::Status::waiting;
  jobs_.push_back(job);
  if (onChange) onChange(*job);
  runNext();
  return job;
}

void RenderQueue::runNext() {
  if (running_) return;
  const auto next = std::find_if(jobs_.begin(), jobs_.end(),
                                 [](const auto& job) { return job->status == RenderJob::Status::waiting; });
  if (next == jobs_.end()) return;
  std::shared_ptr<RenderJob> job = *next;
  job->status = RenderJob::Status::rendering;
  running_ = true;
  if (onChange) onChange(*job);

  worker_.async([this, job, alive = alive_] {
    const auto began = std::chrono::steady_clock::now();
    auto lastPost = began - kProgressInterval;
    bool first = true;
    const auto result = export_(*job, [&](double fraction) {
      const auto now = std::chrono::steady_clock::now();
      if (first || now - lastPost > kProgressInterval) {
        first = false;
        lastPost = now;
        post_([this, job, fraction, alive] {
          if (!*alive) return;
          job->progress = fraction;
          if (onChange) onChange(*job);
        });
      }
      return !job->cancelRequested.load();
    });
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    post_([this, job, result, seconds = took.count(), alive] {
      if (*alive) finished(job, result, seconds);
    });
  });
}

void RenderQueue::finished(const std::shared_ptr<RenderJob>& job, const Expected<void, ExportError>& result,
                           double seconds) {
  job->seconds = seconds;
  if (result) {
    job->status = RenderJob::Status::done;
    job->progress = 1;
  } else if (result.error().kind == ExportError::Kind::cancelled) {
    job->status = RenderJob::Status::cancelled;
  } else {
    job->status = RenderJob::Status::failed;
    job->failure = result.error().description();
  }
  running_ = false;
  if (onChange) onChange(*job);
  if (onFinish) onFinish(*job);
  runNext();
}

void RenderQueue::cancel(const Uuid& id) {
  for (const auto& job : jobs_) {
    if (job->id != id) continue;
    job->cancelRequested = true;
    // A job that has not started never will.
    if (job->status == RenderJob::Status::waiting) {
      job->status = RenderJob::Status::cancelled;
      if (onChange) onChange(*job);
    }
  }
}

void RenderQueue::clearFinished() {
  std::erase_if(jobs_, [](const auto& job) {
    return job->status == RenderJob::Status::done || job->status == RenderJob::Status::failed ||
           job->status == RenderJob::Status::cancelled;
  });
}

}  // namespace brevelan
