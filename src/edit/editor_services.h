#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/caption.h"
#include "model/expected.h"
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

// Speech in a sequence's sound, heard on this computer and made into caption
// lines (the layers above hold the recognizer, the mixer and the line builder).
class SpeechCaptioner {
 public:
  enum class Access { ready, needsPermission, unavailable };
  struct Availability {
    Access access = Access::unavailable;
    std::string message;  // why it is not ready
  };
  struct Lines {
    std::vector<Caption> captions;  // at the sequence's rate, from its start
    std::size_t words = 0;
  };
  using Progress = std::function<void(double)>;
  // The lines, or the sentence that says why there are none.
  using Done = std::function<void(Expected<Lines, std::string>)>;

  virtual ~SpeechCaptioner() = default;
  virtual Availability availability(const std::string& locale) = 0;
  // Asks the system for permission; `done` hears the answer on the main thread.
  virtual void requestPermission(std::function<void(bool granted)> done) { done(false); }
  // Renders the sequence's mix from its start to its end into a temporary
  // sound file (removed however this ends), listens to it and makes its words
  // into lines. `progress` (0 to 1) and `done` (exactly once) run on the main thread.
  virtual void transcribe(const Project& project, const BrevSequence& sequence, const std::string& locale,
                          Progress progress, Done done) = 0;
  // Stops a running transcription soon; its `done` still runs.
  virtual void cancel() {}
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
  // Without it, speech recognition is unavailable.
  std::shared_ptr<SpeechCaptioner> speech;
};

}  // namespace brevelan
