#pragma once

#include <QImage>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "media/picture.h"
#include "picture/composition_builder.h"

namespace brevelan {

// Draws the frames the player will want next on worker threads, each with
// readers of its own, and keeps them until they are shown or no longer
// wanted. Workers take the most urgent wanted frame that nobody is drawing,
// so two workers playing forward draw alternate frames.
class FramePump {
 public:
  // `landed` runs on a worker each time a picture is ready.
  FramePump(int workers, std::function<void()> landed);
  ~FramePump();
  FramePump(const FramePump&) = delete;
  FramePump& operator=(const FramePump&) = delete;

  // Drops every picture and request; what is being drawn for the old build is thrown away.
  void setBuild(std::shared_ptr<const CompositionBuild> build);
  // The frames wanted next, most urgent first. Ready pictures not in the list are let go.
  void want(std::vector<std::int64_t> frames);
  std::optional<QImage> ready(std::int64_t frame) const;
  // Pictures drawn since the pump was made (for the current build or not).
  std::int64_t framesDrawn() const;
  // Average time one worker took to draw a frame, decoding included.
  double averageDrawMilliseconds() const;

 private:
  void work();

  std::function<void()> landed_;
  mutable std::mutex lock_;
  std::condition_variable wake_;
  bool stopping_ = false;
  std::uint64_t generation_ = 0;
  std::shared_ptr<const CompositionBuild> build_;
  std::vector<std::int64_t> wanted_;
  std::set<std::int64_t> drawing_;
  std::map<std::int64_t, QImage> ready_;
  std::int64_t drawn_ = 0;
  double drawSeconds_ = 0;
  std::vector<std::thread> workers_;  // last: started once everything above exists
};

}  // namespace brevelan
