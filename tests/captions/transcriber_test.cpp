#include "captions/transcriber.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <map>
#include <thread>

namespace brevelan {
namespace {

using Kind = SpeechAvailability::Kind;

struct FakeTask final : RecognitionTask {
  void cancel() override { cancelled = true; }
  std::atomic<bool> cancelled{false};
};

// Starts nothing by itself: the test plays the recognizer's part through the stored handler.
struct FakeRecognizer final : LocaleRecognizer {
  bool isAvailable() const override { return available; }
  bool supportsOnDeviceRecognition() const override { return onDevice; }
  std::shared_ptr<RecognitionTask> recognitionTask(const RecognitionRequest& r, RecognitionHandler h,
                                                   RecognitionProgress p) override {
    requests.push_back(r);
    handler = std::move(h);
    progress = std::move(p);
    task = std::make_shared<FakeTask>();
    return task;
  }

  bool available = true;
  bool onDevice = true;
  std::vector<RecognitionRequest> requests;
  RecognitionHandler handler;
  RecognitionProgress progress;
  std::shared_ptr<FakeTask> task;
};

struct FakeEngine final : SpeechEngine {
  SpeechPermission authorizationStatus() const override { return permission; }
  std::shared_ptr<LocaleRecognizer> recognizer(const std::string& locale) override {
    const auto found = recognizers.find(locale);
    return found == recognizers.end() ? nullptr : found->second;
  }
  SpeechPermission permission = SpeechPermission::authorized;
  std::map<std::string, std::shared_ptr<FakeRecognizer>> recognizers{{"en-US", std::make_shared<FakeRecognizer>()}};
};

// Counts completions; the last answer is kept.
struct Answers {
  Transcriber::Completion completion() {
    return [this](Transcriber::Words words) {
      std::lock_guard guard(lock);
      ++count;
      last.emplace(std::move(words));
      arrived.notify_all();
    };
  }
  void waitForOne() {
    std::unique_lock guard(lock);
    arrived.wait_for(guard, std::chrono::seconds(10), [&] { return count > 0; });
  }
  int errorCode() const { return last && !last->ok() ? last->error().code : 0; }

  std::mutex lock;
  std::condition_variable arrived;
  int count = 0;
  std::optional<Transcriber::Words> last;
};

const std::vector<TimedWord> kWords{{"hello", 0.5, 0.3}, {"world", 0.9, 0.4}};

class TranscriberTest : public ::testing::Test {
 protected:
  FakeRecognizer& recognizer() { return *engine->recognizers["en-US"]; }
  std::shared_ptr<Transcription> start(double timeout = 600, bool requireOnDevice = true) {
    return transcriber.transcribe("/tmp/speech.wav", "en-US", requireOnDevice, timeout, answers.completion());
  }

  std::shared_ptr<FakeEngine> engine = std::make_shared<FakeEngine>();
  Answers answers;  // outlives the transcriber, whose destructor may still complete
  Transcriber transcriber{engine};
};

TEST_F(TranscriberTest, AvailabilityFollowsPermissionAndRecognizer) {
  struct Case {
    SpeechPermission permission;
    const char* locale;
    bool available;
    SpeechAvailability expected;
  };
  const Case cases[] = {
      {SpeechPermission::notDetermined, "en-US", true,
       {Kind::needsPermission, false,
        "Speech recognition permission has not been granted yet (the system asks the first time you press "
        "Transcribe)."}},
      {SpeechPermission::denied, "en-US", true,
       {Kind::needsPermission, false,
        "Speech recognition is turned off for Vael Brevelan in the system's privacy settings."}},
      {SpeechPermission::restricted, "en-US", true,
       {Kind::needsPermission, false, "Speech recognition is restricted on this computer."}},
      {SpeechPermission::unknown, "en-US", true,
       {Kind::needsPermission, false, "Speech recognition permission is unknown."}},
      {SpeechPermission::authorized, "de-DE", true, {Kind::unavailable, false, "No speech recognizer for de-DE."}},
      {SpeechPermission::authorized, "en-US", false,
       {Kind::unavailable, false, "The speech recognizer is not available right now."}},
      {SpeechPermission::authorized, "en-US", true, {Kind::ready, true, ""}},
  };
  for (const Case& c : cases) {
    engine->permission = c.permission;
    recognizer().available = c.available;
    EXPECT_EQ(transcriber.availability(c.locale), c.expected) << c.expected.message;
  }
}

TEST_F(TranscriberTest, RefusesBeforeListeningWithoutAnOnDeviceRecognizer) {
  transcriber.transcribe("/tmp/speech.wav", "fr-FR", true, 600, answers.completion());
  EXPECT_EQ(answers.count, 1);
  EXPECT_EQ(answers.errorCode(), TranscriptionError::kNoRecognizer);
  EXPECT_EQ(answers.last->error().message, "No speech recognizer for this language.");
  EXPECT_EQ(answers.last->error().domain, "Vael Brevelan");

  recognizer().onDevice = false;
  start();
  EXPECT_EQ(answers.count, 2);
  EXPECT_EQ(answers.errorCode(), TranscriptionError::kNotOnDevice);
  EXPECT_EQ(answers.last->error().message,
            "This computer cannot recognize speech on-device for this language, and Brevelan is set to never upload "
            "your audio.");
  EXPECT_TRUE(recognizer().requests.empty()) << "no recognition task was started";

  // Allowed off-device only when the caller does not insist.
  start(600, false);
  ASSERT_EQ(recognizer().requests.size(), 1u);
  EXPECT_FALSE(recognizer().requests[0].requiresOnDevice);
}

TEST_F(TranscriberTest, FinalResultGivesTheWordsOnce) {
  std::vector<double> progress;
  transcriber.transcribe("/tmp/speech.wav", "en-US", true, 600, answers.completion(),
                         [&](double p) { progress.push_back(p); });
  ASSERT_EQ(recognizer().requests.size(), 1u);
  const RecognitionRequest& request = recognizer().requests[0];
  EXPECT_EQ(request.file, "/tmp/speech.wav");
  EXPECT_TRUE(request.requiresOnDevice);
  EXPECT_FALSE(request.reportsPartialResults);
  EXPECT_TRUE(request.addsPunctuation);

  recognizer().progress(0.5);
  recognizer().handler(RecognitionResult{false, {{"hell", 0.5, 0.2}}});
  EXPECT_EQ(answers.count, 0) << "partial results are ignored";
  recognizer().handler(RecognitionResult{true, kWords});
  recognizer().handler(Unexpected{TranscriptionError{"Other", 7, "late"}});
  recognizer().progress(0.9);
  EXPECT_EQ(answers.count, 1);
  ASSERT_TRUE(answers.last->ok());
  EXPECT_EQ(answers.last->value(), kWords);
  EXPECT_EQ(progress, std::vector<double>{0.5}) << "no progress after the end";
}

TEST_F(TranscriberTest, FirstOfErrorTimeOutAndCancelWins) {
  struct Case {
    const char* what;
    double timeout;
    bool cancel;
    int code;
    bool taskCancelled;
  };
  const Case cases[] = {
      {"error first", 600, false, 9, false},
      {"time-out first", 0.01, false, TranscriptionError::kTimedOut, true},
      {"cancel first", 600, true, TranscriptionError::kCancelled, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Answers local;
    auto running = transcriber.transcribe("/tmp/speech.wav", "en-US", true, c.timeout, local.completion());
    if (c.cancel) running->cancel();
    if (c.timeout < 1) local.waitForOne();
    // Whatever the recognizer says afterwards is not passed on.
    recognizer().handler(Unexpected{TranscriptionError{"Recognizer", 9, "The audio ended badly."}});
    recognizer().handler(RecognitionResult{true, kWords});
    running->cancel();
    std::this_thread::sleep_for(std::chrono::milliseconds(c.timeout < 1 ? 50 : 0));
    std::lock_guard guard(local.lock);
    EXPECT_EQ(local.count, 1);
    EXPECT_EQ(local.errorCode(), c.code);
    if (c.taskCancelled) {
      EXPECT_TRUE(recognizer().task->cancelled) << "the recognizer stops listening";
    }
  }
}

TEST_F(TranscriberTest, TimeOutMessage) {
  start(0);
  answers.waitForOne();
  ASSERT_EQ(answers.count, 1);
  EXPECT_EQ(answers.last->error(), (TranscriptionError{"Vael Brevelan", TranscriptionError::kTimedOut,
                                                       "Speech recognition took too long."}));
}

TEST_F(TranscriberTest, ResultRacingTheTimeOutCompletesOnce) {
  for (int i = 0; i < 200; ++i) {
    Answers local;
    transcriber.transcribe("/tmp/speech.wav", "en-US", true, 0.0005, local.completion());
    auto handler = recognizer().handler;
    std::thread recognizerThread([&] { handler(RecognitionResult{true, kWords}); });
    recognizerThread.join();
    local.waitForOne();
    std::this_thread::sleep_for(std::chrono::microseconds(600));
    std::lock_guard guard(local.lock);
    ASSERT_EQ(local.count, 1) << "round " << i;
  }
}

TEST(TranscriberLifetime, DestroyingCancelsWhatRuns) {
  auto engine = std::make_shared<FakeEngine>();
  Answers answers;
  {
    Transcriber transcriber(engine);
    transcriber.transcribe("/tmp/speech.wav", "en-US", true, 600, answers.completion());
  }
  EXPECT_EQ(answers.count, 1);
  EXPECT_EQ(answers.errorCode(), TranscriptionError::kCancelled);
  EXPECT_TRUE(engine->recognizers["en-US"]->task->cancelled);
  // A late answer from the recognizer goes nowhere.
  engine->recognizers["en-US"]->handler(RecognitionResult{true, kWords});
  EXPECT_EQ(answers.count, 1);
}

}  // namespace
}  // namespace brevelan
