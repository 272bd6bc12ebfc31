#include "app/speech_captions.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <utility>

#include "captions/caption_builder.h"
#include "media/speech_recognizer.h"
#include "model/uuid.h"
#include "sound/mixer.h"
#include "sound/wav_file.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

// Rendering the mix is quick next to listening to it: a tenth of the bar.
constexpr double kRenderShare = 0.1;
constexpr std::int64_t kChunk = 60 * Mixer::kRate;
constexpr const char* kCancelled = "Transcription was cancelled.";

void removeQuietly(const fs::path& file) {
  std::error_code ec;
  fs::remove(file, ec);
}

}  // namespace

struct LocalSpeechCaptioner::Run {
  std::atomic<bool> cancelled{false};
  std::mutex lock;
  std::shared_ptr<Transcription> transcription;
};

LocalSpeechCaptioner::LocalSpeechCaptioner(Post toMain, std::shared_ptr<SpeechEngine> engine)
    : toMain_(std::move(toMain)),
      transcriber_(std::make_unique<Transcriber>(engine ? std::move(engine) : std::make_shared<PocketSphinxEngine>())) {}

LocalSpeechCaptioner::~LocalSpeechCaptioner() {
  cancel();
  queue_.waitIdle();
}

SpeechCaptioner::Availability LocalSpeechCaptioner::availability(const std::string& locale) {
  const SpeechAvailability answer = transcriber_->availability(locale);
  switch (answer.kind) {
    case SpeechAvailability::Kind::ready:
      return {Access::ready, {}};
    case SpeechAvailability::Kind::needsPermission:
      return {Access::needsPermission, answer.message};
    case SpeechAvailability::Kind::unavailable:
      break;
  }
  return {Access::unavailable, answer.message};
}

void LocalSpeechCaptioner::requestPermission(std::function<void(bool)> done) {
  transcriber_->requestPermission([post = toMain_, done = std::move(done)](bool granted) {
    post([done, granted] { done(granted); });
  });
}

void LocalSpeechCaptioner::cancel() {
  const std::shared_ptr<Run> run = current_;
  if (!run) return;
  run->cancelled = true;
  std::shared_ptr<Transcription> transcription;
  {
    std::lock_guard guard(run->lock);
    transcription = run->transcription;
  }
  if (transcription) transcription->cancel();
}

void LocalSpeechCaptioner::transcribe(const Project& project, const BrevSequence& sequence,
                                      const std::string& locale, Progress progress, Done done) {
  auto run = std::make_shared<Run>();
  current_ = run;
  const Post post = toMain_;
  const auto report = [post, progress](double fraction) { post([progress, fraction] { progress(fraction); }); };
  const auto answer = [post, done](Expected<Lines, std::string> lines) {
    post([done, lines = std::move(lines)]() mutable { done(std::move(lines)); });
  };
  queue_.async([this, run, project, sequence, locale, report, answer] {
    const fs::path file = fs::temp_directory_path() / (std::string(kFilePrefix) + Uuid::make().str() + ".wav");
    const auto failed = [&](std::string why) {
      removeQuietly(file);
      answer(Unexpected{std::move(why)});
    };
    auto writer = FloatWavWriter::create(file);
    if (!writer) return failed(writer.error());
    {
      const Mixer mixer(project);
      const std::int64_t total = Mixer::sampleCount(sequence);
      for (std::int64_t from = 0; from < total; from += kChunk) {
        if (run->cancelled) return failed(kCancelled);
        const std::vector<float> samples = mixer.renderMix(sequence, from, std::min(kChunk, total - from));
        if (auto appended = writer->append(samples); !appended) return failed(appended.error());
        report(kRenderShare * static_cast<double>(from + static_cast<std::int64_t>(samples.size() / 2)) /
               static_cast<double>(total));
      }
      if (auto finished = writer->finish(); !finished) return failed(finished.error());
    }
    if (run->cancelled) return failed(kCancelled);

    const FrameRate rate = sequence.rate;
    auto transcription = transcriber_->transcribe(
        file, locale, true, kTimeoutSeconds,
        [file, rate, answer](Transcriber::Words words) {
          removeQuietly(file);
          if (!words) return answer(Unexpected{words.error().message});
          answer(Lines{CaptionBuilder::lines(*words, rate, 0, CaptionBuilder::kMaxChars, CaptionBuilder::kMaxSeconds),
                       words->size()});
        },
        [report](double fraction) { report(kRenderShare + (1 - kRenderShare) * fraction); });
    std::lock_guard guard(run->lock);
    run->transcription = transcription;
    // A cancel that came while the listening was being started.
    if (run->cancelled) transcription->cancel();
  });
}

}  // namespace brevelan
