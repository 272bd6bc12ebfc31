#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "edit/editor_model.h"
#include "timeline_fixture.h"

namespace brevelan::testing {

// Timers that run only when a test advances its clock.
class ManualScheduler final : public Scheduler {
 public:
  void schedule(double delaySeconds, std::function<void()> work) override {
    timers_.push_back({now_ + delaySeconds, next_++, std::move(work)});
  }

  // Runs everything that falls due within `seconds`, in time order, including
  // work scheduled along the way.
  void advance(double seconds) {
    const double until = now_ + seconds;
    for (;;) {
      auto due = std::min_element(timers_.begin(), timers_.end(), [](const Timer& a, const Timer& b) {
        return a.due != b.due ? a.due < b.due : a.order < b.order;
      });
      if (due == timers_.end() || due->due > until) break;
      now_ = std::max(now_, due->due);
      auto work = std::move(due->work);
      timers_.erase(due);
      work();
    }
    now_ = until;
  }
  double now() const { return now_; }

 private:
  struct Timer {
    double due;
    std::uint64_t order;
    std::function<void()> work;
  };
  std::vector<Timer> timers_;
  double now_ = 1000;
  std::uint64_t next_ = 0;
};

struct FakeBuild final : ProgramBuild {
  explicit FakeBuild(BuildRequest r) : request(std::move(r)) {}
  BuildRequest request;
};

// Holds every build until the test finishes it, in any order.
struct ManualBuilder final : ProgramBuilder {
  void build(BuildRequest request, Done done) override { pending.push_back({std::move(request), std::move(done)}); }
  void finish(std::size_t i) {
    auto& [request, done] = pending.at(i);
    done(std::make_shared<FakeBuild>(request));
  }
  std::vector<std::pair<BuildRequest, Done>> pending;
};

struct RecordingPlayer final : ProgramPlayer {
  float rate() const override { return playing; }
  void setRate(float r) override { rates.push_back(r); }
  void replaceItem(const std::shared_ptr<const ProgramBuild>& build, const BrevSequence&) override {
    items.push_back(build);
  }
  void updateAudioMix(const ProgramBuild&, const BrevSequence&) override { ++mixUpdates; }
  void seek(std::int64_t frame, const FrameRate&) override { seeks.push_back(frame); }

  float playing = 0;
  std::vector<std::shared_ptr<const ProgramBuild>> items;
  std::vector<float> rates;
  std::vector<std::int64_t> seeks;
  int mixUpdates = 0;
};

// abc() as the open sequence, and a 10-second movie with sound, "clip.mov", in
// the bin (missing from disk).
inline Project abcProject() {
  Project project = Project::make();
  BrevSequence seq = abc();
  project.activeSequenceID = seq.id;
  project.sequences = {seq};
  MediaItem movie;
  movie.id = Uuid::make();
  movie.name = "clip.mov";
  movie.path = "/nowhere/clip.mov";
  movie.duration = 10;
  movie.hasVideo = movie.hasAudio = true;
  project.media = {movie};
  return project;
}

// An editor wired to hand-driven services; time is the scheduler's clock.
struct EditorRig {
  explicit EditorRig(Project project = Project::make(), std::shared_ptr<RecoveryCopies> recovery = {}) {
    EditorServices services;
    services.recovery = std::move(recovery);
    services.scheduler = scheduler;
    services.builder = builder;
    services.player = player;
    services.clock = [s = scheduler] { return s->now(); };
    services.beep = [this] { ++beeps; };
    editor = std::make_unique<EditorModel>(std::move(project), services);
  }

  // Lets pending rebuilds run and finishes every build they asked for.
  void settle() {
    scheduler->advance(1);
    for (std::size_t i = 0; i < builder->pending.size(); ++i) builder->finish(i);
    builder->pending.clear();
  }

  std::shared_ptr<ManualScheduler> scheduler = std::make_shared<ManualScheduler>();
  std::shared_ptr<ManualBuilder> builder = std::make_shared<ManualBuilder>();
  std::shared_ptr<RecordingPlayer> player = std::make_shared<RecordingPlayer>();
  int beeps = 0;
  std::unique_ptr<EditorModel> editor;
};

}  // namespace brevelan::testing
