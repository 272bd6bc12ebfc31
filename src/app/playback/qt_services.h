#pragma once

#include <QObject>

#include <functional>
#include <memory>

#include "edit/editor_services.h"
#include "model/serial_queue.h"

namespace brevelan {

// Runs `work` on the Qt main thread, soon; safe from any thread.
void postToMain(std::function<void()> work);

// The editor's timers on the Qt event loop.
class QtScheduler final : public Scheduler {
 public:
  void schedule(double delaySeconds, std::function<void()> work) override;
};

// Composition builds for playback on "vael.brevelan.build": stems included,
// the answer delivered on the main thread.
class BackgroundBuilder final : public ProgramBuilder {
 public:
  void build(BuildRequest request, Done done) override;
  // Blocks until every build asked for so far is finished (tests, quitting).
  void waitIdle() { queue_.waitIdle(); }

 private:
  SerialQueue queue_{"vael.brevelan.build"};
};

}  // namespace brevelan
