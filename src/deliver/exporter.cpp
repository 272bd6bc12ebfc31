#include "deliver/exporter.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <optional>
#include <mutex>
#include <system_error>
#include <thread>
#include <sys/resource.h>

#include "deliver/audio_export.h"
#include "media/audio_reader.h"
#include "media/caf_file.h"
#include "media/media_writer.h"
#include "picture/composition_builder.h"
#include "picture/frame_renderer.h"
#include "picture/gui_environment.h"
#include "sound/mixer.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kSoundChunk = Mixer::kRate;  // one second per append
constexpr double kSoundLead = 1.0;                 // seconds the sound may run ahead of the picture
constexpr std::size_t kFramesAhead = 6;            // frames ready and waiting for the encoder

Unexpected<ExportError> exportError(ExportError::Kind kind, std::string message = {}) {
  return Unexpected{ExportError{kind, std::move(message)}};
}

void removeQuietly(const fs::path& file) {
  std::error_code ignored;
  fs::remove(file, ignored);
}

// Lowers the calling thread's priority (Linux keeps one per thread). The
// encoder is the slowest stage, so the threads that feed it should take the
// cores only when its own threads leave them idle; a small queue of ready
// frames covers the moments they fall behind.
void yieldToEncoder() { setpriority(PRIO_PROCESS, 0, 10); }

// Removes the temporary mix however the export ends.
struct TemporaryFile {
  fs::path path;
  ~TemporaryFile() {
    if (!path.empty()) removeQuietly(path);
  }
};

// The shared stop flag and what stopped the pumps; one lock guards both.
class Outcome {
 public:
  bool stopped() {
    std::lock_guard guard(lock_);
    return stop_;
  }
  void cancel() {
    std::lock_guard guard(lock_);
    stop_ = cancelled_ = true;
  }
  void fail(std::string why) {
    std::lock_guard guard(lock_);
    if (!stop_) failure_ = std::move(why);
    stop_ = true;
  }
  bool cancelled() {
    std::lock_guard guard(lock_);
    return cancelled_;
  }
  std::optional<std::string> failure() {
    std::lock_guard guard(lock_);
    return failure_;
  }

 private:
  std::mutex lock_;
  bool stop_ = false;
  bool cancelled_ = false;
  std::optional<std::string> failure_;
};

// Frames on their way to the encoder: at most `capacity` wait.
class FrameQueue {
 public:
  explicit FrameQueue(std::size_t capacity) : capacity_(capacity) {}
  // False once the queue is closed.
  bool push(ff::FramePtr frame) {
    std::unique_lock lock(lock_);
    changed_.wait(lock, [&] { return closed_ || frames_.size() < capacity_; });
    if (closed_) return false;
    frames_.push_back(std::move(frame));
    changed_.notify_all();
    return true;
  }
  // Null once the queue is closed and empty.
  ff::FramePtr pop() {
    std::unique_lock lock(lock_);
    changed_.wait(lock, [&] { return closed_ || !frames_.empty(); });
    if (frames_.empty()) return nullptr;
    ff::FramePtr frame = std::move(frames_.front());
    frames_.pop_front();
    changed_.notify_all();
    return frame;
  }
  void close() {
    std::lock_guard guard(lock_);
    closed_ = true;
    changed_.notify_all();
  }

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  std::deque<ff::FramePtr> frames_;
  std::size_t capacity_;
  bool closed_ = false;
};

}  // namespace

std::string ExportError::description() const {
  switch (kind) {
    case Kind::cannotStart:
      return "The export could not start: " + message;
    case Kind::failed:
      return "The export failed: " + message;
    case Kind::cancelled:
      return "Export cancelled. The unfinished file was removed.";
    case Kind::empty:
      return "The sequence is empty — put some clips on the timeline first.";
  }
  return message;
}

Expected<void, ExportError> Exporter::exportSequence(const Project& project, const BrevSequence& seq,
                                                     const ExportPreset& preset, const fs::path& file,
                                                     bool burnCaptions, Reframe reframe, const Progress& progress) {
  const std::int64_t frames = seq.duration();
  if (frames < 1) return exportError(ExportError::Kind::empty);
  removeQuietly(file);

  const Mixer mixer(project);
  const std::int64_t samples = Mixer::sampleCount(seq);
  if (preset.audioOnly) {
    const std::vector<float> mix = mixer.renderMix(seq, 0, samples);
    if (progress && !progress(0.5)) return exportError(ExportError::Kind::cancelled);
    if (auto written = writeAudio(mix, file, *preset.audioOnly); !written)
      return exportError(ExportError::Kind::failed, written.error());
    if (progress) progress(1.0);
    return {};
  }
  if (!preset.codec) return exportError(ExportError::Kind::cannotStart, "the preset has no picture codec");

  ensureGuiEnvironment();  // titles and captions are laid out with Qt
  const auto [width, height] = preset.outputSize(static_cast<int>(seq.width), static_cast<int>(seq.height));
  BuildOptions options;
  options.output = std::pair{width, height};
  options.reframe = reframe;
  options.burnCaptions = burnCaptions;
  const auto build = buildComposition(project, seq, options);

  const VideoFormat videoFormat = exportVideoFormat(preset, seq.rate, width, height);
  auto opened = MediaWriter::open(file, videoFormat, exportSoundFormat(preset), isProRes(*preset.codec) ? "mov" : "mp4");
  if (!opened) {
    removeQuietly(file);
    const bool unavailable = opened.error().kind == WriterError::Kind::encoderUnavailable;
    return exportError(ExportError::Kind::cannotStart,
                       unavailable ? codecUnavailableMessage(*preset.codec) : opened.error().message);
  }
  MediaWriter& writer = **opened;
  writer.paceSound(kSoundLead);
  Outcome outcome;

  // The full mix goes through a temporary file, as the player's stems do. It
  // is made on the sound worker while the first pictures are drawn.
  TemporaryFile mixFile{fs::temp_directory_path() / ("vael-brevelan-mix-" + Uuid::make().str() + ".caf")};
  std::thread soundPump([&] {
    yieldToEncoder();
    Expected<std::vector<float>, std::string> sound = Unexpected{std::string("could not write the sound mix")};
    if (writeCAF(mixer.renderMix(seq, 0, samples), mixFile.path)) sound = decodeSound(mixFile.path);
    if (!sound) {
      outcome.fail("could not write the sound mix");
      writer.cancel();  // the picture feeder stops at its next frame
      return;
    }
    const std::vector<float>& mix = *sound;
    const auto total = static_cast<std::int64_t>(mix.size() / 2);
    for (std::int64_t at = 0; at < total && !outcome.stopped(); at += kSoundChunk) {
      const std::int64_t count = std::min(kSoundChunk, total - at);
      if (auto added = writer.addSound(mix.data() + 2 * at, count); !added) {
        if (!outcome.stopped()) outcome.fail(added.error());
        break;
      }
    }
    if (!outcome.stopped())
      if (auto done = writer.finishSound(); !done) outcome.fail(done.error());
  });

  // The picture pump: frames are drawn and turned into the encoder's format
  // on a worker of their own (one frame-exact reader per source track keeps
  // decoding forward), a few ahead of this thread, which only hands them to
  // the encoder: its threads never wait for a picture. A movie frame shown
  // untouched is not drawn at all, and titles over it are laid on in the
  // encoder's own format.
  FrameQueue ready(kFramesAhead);
  std::thread painter([&] {
    yieldToEncoder();
    SourceFrames sources(/*threadedDecoding=*/false);
    EncoderFrames toEncoder(width, height, writer.pictureFormat());
    for (std::int64_t f = 0; f < frames && !outcome.stopped(); ++f) {
      ff::FramePtr next;
      const auto through = FrameRenderer::passThrough(*build, f, sources);
      if (through && (through->overlays.empty() || toEncoder.canOverlay(through->frame)))
        next = toEncoder.fromDecoded(through->frame, through->overlays);
      else
        next = toEncoder.fromPicture(FrameRenderer::output(*build, f, sources));
      if (!next) {
        outcome.fail("cannot convert a picture for the encoder");
        break;
      }
      if (!ready.push(std::move(next))) break;
    }
    ready.close();
  });
  for (std::int64_t f = 0; f < frames && !outcome.stopped(); ++f) {
    const ff::FramePtr frame = ready.pop();
    if (!frame) break;
    const auto added = writer.addFrame(frame.get());
    if (!added) {
      outcome.fail(added.error());
      break;
    }
    if (progress && !progress(static_cast<double>(f + 1) / static_cast<double>(frames))) outcome.cancel();
  }
  ready.close();  // a painter waiting to hand over a frame stops
  painter.join();
  if (!outcome.stopped())
    if (auto done = writer.finishPictures(); !done) outcome.fail(done.error());
  if (outcome.stopped()) writer.cancel();  // releases a sound pump waiting for pictures
  soundPump.join();

  if (outcome.cancelled()) {
    opened->reset();
    removeQuietly(file);
    return exportError(ExportError::Kind::cancelled);
  }
  if (auto why = outcome.failure()) {
    opened->reset();
    removeQuietly(file);
    return exportError(ExportError::Kind::failed, *why);
  }
  if (auto finished = writer.finish(); !finished) {
    opened->reset();
    removeQuietly(file);
    return exportError(ExportError::Kind::failed, finished.error());
  }
  return {};
}

}  // namespace brevelan
