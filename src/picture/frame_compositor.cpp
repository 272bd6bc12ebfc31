#include "picture/frame_compositor.h"

#include <chrono>

namespace brevelan {

FrameCompositor::FrameCompositor() = default;

void FrameCompositor::request(std::shared_ptr<const CompositionBuild> build, std::int64_t frame, Done done) {
  queue_.async([this, build = std::move(build), frame, done = std::move(done)] {
    if (cancelled_) return done(Unexpected{CompositorError::cancelledRequest()});
    if (!build || !build->instructionAt(frame)) return done(Unexpected{CompositorError{}});
    const auto began = std::chrono::steady_clock::now();
    Picture picture = FrameRenderer::output(*build, frame, sources_);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    {
      std::lock_guard guard(statLock_);
      ++framesDrawn_;
      totalSeconds_ += took.count();
    }
    done(std::move(picture));
  });
}

void FrameCompositor::cancelAll() {
  cancelled_ = true;
  // Everything queued before this point sees the flag; this job clears it
  // for what comes after.
  queue_.async([this] { cancelled_ = false; });
}

std::int64_t FrameCompositor::framesDrawn() const {
  std::lock_guard guard(statLock_);
  return framesDrawn_;
}

double FrameCompositor::averageMilliseconds() const {
  std::lock_guard guard(statLock_);
  return framesDrawn_ > 0 ? totalSeconds_ * 1000 / static_cast<double>(framesDrawn_) : 0;
}

}  // namespace brevelan
