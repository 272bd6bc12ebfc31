#include "app/playback/frame_pump.h"

#include <chrono>

#include "picture/picture_image.h"

#include <pthread.h>

#include <algorithm>

#include "picture/frame_renderer.h"

namespace brevelan {

FramePump::FramePump(int workers, std::function<void()> landed) : landed_(std::move(landed)) {
  for (int i = 0; i < std::max(workers, 1); ++i) workers_.emplace_back([this] { work(); });
}

FramePump::~FramePump() {
  {
    std::lock_guard guard(lock_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (std::thread& worker : workers_) worker.join();
}

void FramePump::setBuild(std::shared_ptr<const CompositionBuild> build) {
  std::lock_guard guard(lock_);
  ++generation_;
  build_ = std::move(build);
  wanted_.clear();
  drawing_.clear();
  ready_.clear();
}

void FramePump::want(std::vector<std::int64_t> frames) {
  {
    std::lock_guard guard(lock_);
    for (auto it = ready_.begin(); it != ready_.end();)
      it = std::find(frames.begin(), frames.end(), it->first) == frames.end() ? ready_.erase(it) : std::next(it);
    wanted_ = std::move(frames);
  }
  wake_.notify_all();
}

std::optional<QImage> FramePump::ready(std::int64_t frame) const {
  std::lock_guard guard(lock_);
  const auto it = ready_.find(frame);
  if (it == ready_.end()) return std::nullopt;
  return it->second;
}

std::int64_t FramePump::framesDrawn() const {
  std::lock_guard guard(lock_);
  return drawn_;
}

double FramePump::averageDrawMilliseconds() const {
  std::lock_guard guard(lock_);
  return drawn_ > 0 ? drawSeconds_ * 1000 / static_cast<double>(drawn_) : 0;
}

void FramePump::work() {
  ::pthread_setname_np(::pthread_self(), "vael.playback");
  // Each worker reads its own files: readers are one-thread objects.
  SourceFrames sources;
  std::unique_lock guard(lock_);
  for (;;) {
    std::optional<std::int64_t> next;
    wake_.wait(guard, [&] {
      if (stopping_) return true;
      if (!build_) return false;
      for (const std::int64_t f : wanted_)
        if (!ready_.contains(f) && !drawing_.contains(f)) {
          next = f;
          return true;
        }
      return false;
    });
    if (stopping_) return;
    const std::int64_t frame = *next;
    const std::uint64_t generation = generation_;
    const std::shared_ptr<const CompositionBuild> build = build_;
    drawing_.insert(frame);
    guard.unlock();

    const auto began = std::chrono::steady_clock::now();
    QImage image = toImage(FrameRenderer::output(*build, frame, sources));
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();

    guard.lock();
    ++drawn_;
    drawSeconds_ += seconds;
    if (generation != generation_) continue;  // a new build came meanwhile
    drawing_.erase(frame);
    // Keep it only while it is still wanted: the player may have moved past it.
    if (std::find(wanted_.begin(), wanted_.end(), frame) == wanted_.end()) continue;
    ready_[frame] = std::move(image);
    guard.unlock();
    if (landed_) landed_();
    guard.lock();
  }
}

}  // namespace brevelan
