#include "edit/autosave_copies.h"

#include <algorithm>

namespace brevelan {

AutosaveCopies::AutosaveCopies(Autosave autosave, Mode mode) : autosave_(std::move(autosave)), mode_(mode) {
  if (mode_ == Mode::background) worker_ = std::thread([this] { work(); });
}

AutosaveCopies::~AutosaveCopies() {
  if (!worker_.joinable()) return;
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  worker_.join();
}

void AutosaveCopies::write(const Project& project, const std::optional<std::filesystem::path>& originalPath) {
  enqueue({project.id, project, originalPath});
}

void AutosaveCopies::discard(const Uuid& projectID) { enqueue({projectID, std::nullopt, std::nullopt}); }

void AutosaveCopies::enqueue(Job job) {
  if (mode_ == Mode::immediate) {
    run(job);
    return;
  }
  {
    std::lock_guard lock(mutex_);
    // A write still waiting behind everything else asked for that project
    // is replaced: only the newest snapshot matters.
    auto last = std::find_if(jobs_.rbegin(), jobs_.rend(), [&](const Job& j) { return j.projectID == job.projectID; });
    if (last != jobs_.rend() && job.project && last->project)
      *last = std::move(job);
    else
      jobs_.push_back(std::move(job));
  }
  changed_.notify_all();
}

void AutosaveCopies::run(const Job& job) const {
  if (job.project)
    (void)autosave_.write(*job.project, job.originalPath);  // skipped silently; the next tick tries again
  else
    autosave_.discard(job.projectID);
}

void AutosaveCopies::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [&] { return stopping_ || !jobs_.empty(); });
    if (jobs_.empty()) return;  // stopping, and nothing left to do
    Job job = std::move(jobs_.front());
    jobs_.pop_front();
    busy_ = true;
    lock.unlock();
    run(job);
    lock.lock();
    busy_ = false;
    changed_.notify_all();
  }
}

void AutosaveCopies::wait() {
  if (mode_ == Mode::immediate) return;
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return jobs_.empty() && !busy_; });
}

}  // namespace brevelan
