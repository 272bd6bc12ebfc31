#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "captions/caption_builder.h"
#include "model/expected.h"

namespace brevelan {

// Why a transcription ended without words. The message is the sentence shown to the user.
struct TranscriptionError {
  static constexpr const char* kDomain = "Vael Brevelan";
  static constexpr int kRecognitionFailed = 1;  // the recognizer's own failures
  static constexpr int kNoRecognizer = 2;
  static constexpr int kNotOnDevice = 3;
  static constexpr int kTimedOut = 4;
  static constexpr int kCancelled = 5;

  std::string domain = kDomain;
  int code = kRecognitionFailed;
  std::string message;

  friend bool operator==(const TranscriptionError&, const TranscriptionError&) = default;
};

// ---- What the platform's recognizer provides ----------------------------------------------------

enum class SpeechPermission { notDetermined, denied, restricted, authorized, unknown };

struct RecognitionRequest {
  std::filesystem::path file;
  bool reportsPartialResults = false;
  bool requiresOnDevice = false;
  bool addsPunctuation = false;
};

// What a recognition task hands back: its words in order, final or not.
struct RecognitionResult {
  bool isFinal = false;
  std::vector<TimedWord> segments;
};

using RecognitionHandler = std::function<void(Expected<RecognitionResult, TranscriptionError>)>;
// How much of the sound has been listened to, 0 to 1.
using RecognitionProgress = std::function<void(double)>;

class RecognitionTask {
 public:
  virtual ~RecognitionTask() = default;
  // Asks the task to stop soon; it may still report (an error) afterwards.
  virtual void cancel() = 0;
};

// A recognizer for one language.
class LocaleRecognizer {
 public:
  virtual ~LocaleRecognizer() = default;
  virtual bool isAvailable() const = 0;
  virtual bool supportsOnDeviceRecognition() const = 0;
  // Starts listening to the request's file on the recognizer's own thread,
  // where `handler` and `progress` are called.
  virtual std::shared_ptr<RecognitionTask> recognitionTask(const RecognitionRequest& request,
                                                           RecognitionHandler handler,
                                                           RecognitionProgress progress) = 0;
};

class SpeechEngine {
 public:
  virtual ~SpeechEngine() = default;
  virtual SpeechPermission authorizationStatus() const = 0;
  // Asks the user once, where the system does that; `done` may run on any thread.
  virtual void requestAuthorization(std::function<void(SpeechPermission)> done) { done(authorizationStatus()); }
  // The recognizer for a locale identifier such as "en-US", or null when there is none.
  virtual std::shared_ptr<LocaleRecognizer> recognizer(const std::string& locale) = 0;
};

// ---- The transcriber ------------------------------------------------------------------------------

struct SpeechAvailability {
  enum class Kind { ready, needsPermission, unavailable };
  Kind kind = Kind::unavailable;
  bool onDevice = false;  // ready only
  std::string message;    // needs permission or unavailable

  friend bool operator==(const SpeechAvailability&, const SpeechAvailability&) = default;
};

// A running transcription; cancel() completes it with kCancelled unless it is already over.
class Transcription {
 public:
  virtual ~Transcription() = default;
  virtual void cancel() = 0;
};

// Sound files to words, on this computer only: a recognizer that cannot work
// on-device is never handed audio when on-device recognition is required.
class Transcriber {
 public:
  using Words = Expected<std::vector<TimedWord>, TranscriptionError>;
  using Completion = std::function<void(Words)>;

  explicit Transcriber(std::shared_ptr<SpeechEngine> engine);
  // Cancels what is still running (each completion hears kCancelled) and stops the timer.
  ~Transcriber();
  Transcriber(const Transcriber&) = delete;
  Transcriber& operator=(const Transcriber&) = delete;

  SpeechAvailability availability(const std::string& locale) const;
  // `done` hears whether recognition is now allowed; it may run on any thread.
  void requestPermission(std::function<void(bool)> done);

  // Recognises one file and calls `completion` exactly once, on the recognizer's
  // thread or the timer's, with the words or the first of: an error, the
  // time-out after `timeoutSeconds`, a cancel. `progress` (0 to 1) stops
  // once the completion has run.
  std::shared_ptr<Transcription> transcribe(const std::filesystem::path& file, const std::string& locale,
                                            bool requireOnDevice, double timeoutSeconds, Completion completion,
                                            RecognitionProgress progress = {});

 private:
  struct Job;
  void finish(const std::shared_ptr<Job>& job, Words result);
  void timerLoop();

  std::shared_ptr<SpeechEngine> engine_;

  std::mutex lock_;
  std::condition_variable wake_;
  std::multimap<std::chrono::steady_clock::time_point, std::weak_ptr<Job>> deadlines_;
  std::vector<std::shared_ptr<Job>> running_;
  bool stopping_ = false;
  std::thread timer_;
};

}  // namespace brevelan
