#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "model/expected.h"

namespace brevelan {

// Why a take could not start or end. `refused` is set when the system would
// not let us use the microphone (the user can change that); otherwise
// `message` says what went wrong.
struct VoiceOverFailure {
  bool refused = false;
  std::string message;
};

// The microphone side of voice-over recording. The editor starts and stops
// takes through this; the layers above record from the system's sound input
// into a file of their own choosing. Main thread only.
class VoiceOverInput {
 public:
  enum class Access { granted, refused, notAsked };

  virtual ~VoiceOverInput() = default;
  // Whether the system lets us record; systems without a permission prompt
  // answer `granted` and refuse, if at all, when a take starts.
  virtual Access access() const { return Access::granted; }
  // Asks the system once; `done` hears the answer on the main thread.
  virtual void requestAccess(std::function<void(bool granted)> done) { done(true); }
  // Begins a take.
  virtual Expected<void, VoiceOverFailure> start() = 0;
  // Ends the take and returns its file, complete on disk.
  virtual Expected<std::filesystem::path, std::string> stop() = 0;
  virtual bool recording() const = 0;
};

}  // namespace brevelan
