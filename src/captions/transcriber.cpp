#include "captions/transcriber.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace brevelan {
namespace {

using Clock = std::chrono::steady_clock;

TranscriptionError failure(int code, std::string message) {
  return TranscriptionError{TranscriptionError::kDomain, code, std::move(message)};
}

SpeechAvailability needsPermission(std::string message) {
  return SpeechAvailability{SpeechAvailability::Kind::needsPermission, false, std::move(message)};
}

SpeechAvailability unavailable(std::string message) {
  return SpeechAvailability{SpeechAvailability::Kind::unavailable, false, std::move(message)};
}

// A transcription that ended before it began listening.
struct Finished final : Transcription {
  void cancel() override {}
};

}  // namespace

// One transcription. Its lock and done flag let only the first of result,
// error, time-out and cancel through to the completion.
struct Transcriber::Job final : Transcription, std::enable_shared_from_this<Job> {
  explicit Job(Transcriber& owner) : owner(owner) {}

  void cancel() override {
    {
      std::lock_guard guard(lock);
      if (done) return;
    }
    owner.finish(shared_from_this(), Unexpected{failure(TranscriptionError::kCancelled, "Transcription was cancelled.")});
  }

  Transcriber& owner;
  std::mutex lock;
  bool done = false;
  Completion completion;
  RecognitionProgress progress;
  std::shared_ptr<RecognitionTask> task;
  std::shared_ptr<LocaleRecognizer> recognizer;  // kept until the end, as its task may need it
};

Transcriber::Transcriber(std::shared_ptr<SpeechEngine> engine)
    : engine_(std::move(engine)), timer_([this] { timerLoop(); }) {}

Transcriber::~Transcriber() {
  std::vector<std::shared_ptr<Job>> running;
  {
    std::lock_guard guard(lock_);
    stopping_ = true;
    running = running_;
  }
  for (const auto& job : running)
    finish(job, Unexpected{failure(TranscriptionError::kCancelled, "Transcription was cancelled.")});
  wake_.notify_all();
  if (timer_.get_id() == std::this_thread::get_id())
    timer_.detach();  // destroyed from a completion run by the timer itself
  else
    timer_.join();
}

SpeechAvailability Transcriber::availability(const std::string& locale) const {
  switch (engine_->authorizationStatus()) {
    case SpeechPermission::notDetermined:
      return needsPermission(
          "Speech recognition permission has not been granted yet (the system asks the first time you press "
          "Transcribe).");
    case SpeechPermission::denied:
      return needsPermission("Speech recognition is turned off for Vael Brevelan in the system's privacy settings.");
    case SpeechPermission::restricted:
      return needsPermission("Speech recognition is restricted on this computer.");
    case SpeechPermission::authorized: {
      const auto recognizer = engine_->recognizer(locale);
      if (!recognizer) return unavailable("No speech recognizer for " + locale + ".");
      if (!recognizer->isAvailable()) return unavailable("The speech recognizer is not available right now.");
      return SpeechAvailability{SpeechAvailability::Kind::ready, recognizer->supportsOnDeviceRecognition(), {}};
    }
    case SpeechPermission::unknown:
      break;
  }
  return needsPermission("Speech recognition permission is unknown.");
}

void Transcriber::requestPermission(std::function<void(bool)> done) {
  engine_->requestAuthorization(
      [done = std::move(done)](SpeechPermission permission) { done(permission == SpeechPermission::authorized); });
}

std::shared_ptr<Transcription> Transcriber::transcribe(const std::filesystem::path& file, const std::string& locale,
                                                       bool requireOnDevice, double timeoutSeconds,
                                                       Completion completion, RecognitionProgress progress) {
  auto recognizer = engine_->recognizer(locale);
  if (!recognizer) {
    completion(Unexpected{failure(TranscriptionError::kNoRecognizer, "No speech recognizer for this language.")});
    return std::make_shared<Finished>();
  }
  RecognitionRequest request;
  request.file = file;
  request.reportsPartialResults = false;
  if (recognizer->supportsOnDeviceRecognition()) {
    request.requiresOnDevice = true;
  } else if (requireOnDevice) {
    // Never hand the audio to a recognizer that might send it elsewhere.
    completion(Unexpected{failure(TranscriptionError::kNotOnDevice,
                                  "This computer cannot recognize speech on-device for this language, and Brevelan "
                                  "is set to never upload your audio.")});
    return std::make_shared<Finished>();
  }
  request.addsPunctuation = true;

  auto job = std::make_shared<Job>(*this);
  job->completion = std::move(completion);
  job->progress = std::move(progress);
  job->recognizer = recognizer;
  const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                           std::chrono::duration<double>(std::max(timeoutSeconds, 0.0)));
  {
    std::lock_guard guard(lock_);
    running_.push_back(job);
    deadlines_.emplace(deadline, job);
  }
  wake_.notify_all();

  const std::weak_ptr<Job> weak = job;
  auto handler = [this, weak](Expected<RecognitionResult, TranscriptionError> outcome) {
    const auto job = weak.lock();
    if (!job) return;
    if (!outcome) return finish(job, Unexpected{outcome.error()});
    if (outcome->isFinal) finish(job, std::move(outcome->segments));
  };
  auto report = [weak](double fraction) {
    const auto job = weak.lock();
    if (!job) return;
    RecognitionProgress progress;
    {
      std::lock_guard guard(job->lock);
      if (job->done) return;
      progress = job->progress;
    }
    if (progress) progress(fraction);
  };
  auto task = recognizer->recognitionTask(request, std::move(handler), std::move(report));
  {
    std::lock_guard guard(job->lock);
    if (!job->done) {
      job->task = std::move(task);
      return job;
    }
  }
  // Timed out or cancelled while the task was being started.
  if (task) task->cancel();
  return job;
}

void Transcriber::finish(const std::shared_ptr<Job>& job, Words result) {
  Completion completion;
  std::shared_ptr<RecognitionTask> task;
  std::shared_ptr<LocaleRecognizer> recognizer;
  {
    std::lock_guard guard(job->lock);
    if (job->done) return;
    job->done = true;
    completion = std::move(job->completion);
    job->progress = nullptr;
    task = std::move(job->task);
    recognizer = std::move(job->recognizer);
  }
  {
    std::lock_guard guard(lock_);
    std::erase(running_, job);
  }
  // A time-out or cancel stops the listening; after the task's own answer this does nothing.
  if (task) task->cancel();
  if (completion) completion(std::move(result));
}

void Transcriber::timerLoop() {
  std::unique_lock guard(lock_);
  while (!stopping_) {
    if (deadlines_.empty()) {
      wake_.wait(guard);
      continue;
    }
    const auto next = deadlines_.begin();
    if (Clock::now() < next->first) {
      wake_.wait_until(guard, next->first);
      continue;
    }
    const auto job = next->second.lock();
    deadlines_.erase(next);
    if (!job) continue;
    guard.unlock();
    finish(job, Unexpected{failure(TranscriptionError::kTimedOut, "Speech recognition took too long.")});
    guard.lock();
  }
}

}  // namespace brevelan
