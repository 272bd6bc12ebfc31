#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "model/frame_rate.h"
#include "model/project.h"
#include "model/sequence.h"

// The editor reaches everything outside the document (time, timers, the
// picture builder, the player, recovery copies, the system beep) through these
// small interfaces, so the editing engine builds and is tested without any of them.
namespace brevelan {

// A finished picture build of the active sequence. The picture layer derives
// its build from this; the editor only keeps it and hands it to the player.
class ProgramBuild {
 public:
  virtual ~ProgramBuild() = default;
};

// What a rebuild works from: copies taken when it was scheduled.
struct BuildRequest {
  Project project;
  BrevSequence sequence;
  bool useProxies = true;
};

class ProgramBuilder {
 public:
  using Done = std::function<void(std::shared_ptr<const ProgramBuild>)>;
  virtual ~ProgramBuilder() = default;
  // Builds (off the main thread, if it likes) and calls `done` once, on the
  // main thread. A null result means there is nothing to play.
  virtual void build(BuildRequest request, Done done) = 0;
};

// The program viewer's player. Every member does nothing by default.
class ProgramPlayer {
 public:
  virtual ~ProgramPlayer() = default;
  virtual float rate() const { return 0; }
  virtual void setRate(float) {}
  // A new item from the build: its composition, its audio mix made from
  // `sequence`, time-domain pitch, the scopes' video output attached.
  virtual void replaceItem(const std::shared_ptr<const ProgramBuild>&, const BrevSequence&) {}
  // A sound-only change: a new audio mix for the current item, playback uninterrupted.
  virtual void updateAudioMix(const ProgramBuild&, const BrevSequence&) {}
  virtual void seek(std::int64_t /*frame*/, const FrameRate&) {}
};

// Runs work on the main thread after a delay (a timer of the event loop).
class Scheduler {
 public:
  virtual ~Scheduler() = default;
  virtual void schedule(double delaySeconds, std::function<void()> work) = 0;
};

// Recovery copies of unsaved work.
class RecoveryCopies {
 public:
  virtual ~RecoveryCopies() = default;
  virtual void write(const Project&, const std::optional<std::filesystem::path>& /*originalPath*/) {}
  virtual void discard(const Uuid& /*projectID*/) {}
};

// Any member left empty gets a default: no timers run (so nothing is built),
// nothing is played, no recovery copies, a steady clock, a silent beep.
struct EditorServices {
  std::shared_ptr<Scheduler> scheduler;
  std::shared_ptr<ProgramBuilder> builder;
  std::shared_ptr<ProgramPlayer> player;
  std::shared_ptr<RecoveryCopies> recovery;
  std::function<double()> clock;  // seconds, never going backwards
  // Renders one sound clip alone (gain, fades, speed and effects included)
  // and returns its beats in seconds from the clip's start. Without it no
  // beat is ever found.
  std::function<std::vector<double>(const Project&, const BrevSequence&, const Uuid& clip)> findBeats;
  std::function<void()> beep;
};

}  // namespace brevelan
