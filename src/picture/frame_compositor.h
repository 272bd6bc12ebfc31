#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "model/expected.h"
#include "model/serial_queue.h"
#include "picture/composition_builder.h"
#include "picture/frame_renderer.h"

namespace brevelan {

// Why a frame request ended without a picture.
struct CompositorError {
  enum class Kind { noFrameBuffer, cancelled };
  Kind kind = Kind::noFrameBuffer;
  std::string domain = "Vael Brevelan";
  int code = 1;
  std::string description = "No frame buffer";

  static CompositorError cancelledRequest() { return {Kind::cancelled, "Vael Brevelan", 2, "Cancelled"}; }
};

// Draws the frames a player or exporter asks for, one after another on its
// own worker ("vael.brevelan.compositor"). Requests return at once; the
// answer comes on the worker. cancelAll() ends everything already queued as
// cancelled, while requests made after it are drawn.
class FrameCompositor {
 public:
  using Result = Expected<Picture, CompositorError>;
  using Done = std::function<void(Result)>;

  FrameCompositor();

  void request(std::shared_ptr<const CompositionBuild> build, std::int64_t frame, Done done);
  void cancelAll();
  // Blocks until every request made so far has been answered.
  void waitIdle() { queue_.waitIdle(); }

  std::int64_t framesDrawn() const;
  double averageMilliseconds() const;

 private:
  std::atomic<bool> cancelled_{false};
  SourceFrames sources_;  // used on the worker only
  mutable std::mutex statLock_;
  std::int64_t framesDrawn_ = 0;
  double totalSeconds_ = 0;
  SerialQueue queue_{"vael.brevelan.compositor"};  // last: stopped first
};

}  // namespace brevelan
