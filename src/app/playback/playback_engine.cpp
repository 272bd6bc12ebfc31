#include "app/playback/playback_engine.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSink>
#include <QElapsedTimer>
#include <QIODevice>
#include <QMediaDevices>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <map>
#include <optional>

#include "app/playback/frame_pump.h"
#include "picture/composition_builder.h"
#include "sound/mixer.h"

namespace brevelan {
namespace {

constexpr int kWorkers = 2;
// Pictures drawn ahead of the one on screen while playing: 0.4 s at 30 fps,
// enough to ride out a slow frame and the opening of the next clip's file.
constexpr int kAhead = 12;
constexpr int kTickMs = 4;
constexpr qint64 kPositionEveryNs = 16'000'000;
constexpr qint64 kMetersEveryNs = 33'000'000;
// A device that has played nothing this long after starting is not playing.
constexpr qint64 kSoundStartLimitNs = 1'500'000'000;
// From a standstill the silent clock waits this long at most for the first
// new picture, so that playing does not begin with a dropped frame.
constexpr qint64 kPrerollLimitNs = 250'000'000;
// How far the clock may run on from the device's last report.
constexpr double kSoundExtrapolationSeconds = 0.1;
constexpr int kSoundBufferMs = 100;

const QString kNoSound = QStringLiteral("No sound device — playing without sound.");

// What the sound device pulls: the live mix, as float or 16-bit samples.
class MixDevice final : public QIODevice {
 public:
  MixDevice(StemMixer& mixer, bool floats) : mixer_(mixer), floats_(floats) {}

  bool isSequential() const override { return true; }
  qint64 bytesAvailable() const override { return (1 << 16) + QIODevice::bytesAvailable(); }

 protected:
  qint64 readData(char* data, qint64 maxSize) override {
    const qint64 frameBytes = floats_ ? 8 : 4;
    const qint64 frames = maxSize / frameBytes;
    if (frames <= 0) return 0;
    buffer_.resize(static_cast<std::size_t>(frames) * 2);
    mixer_.read(buffer_);
    if (floats_) {
      std::memcpy(data, buffer_.data(), static_cast<std::size_t>(frames * frameBytes));
    } else {
      std::vector<std::int16_t> samples(buffer_.size());
      for (std::size_t i = 0; i < buffer_.size(); ++i)
        samples[i] = static_cast<std::int16_t>(std::lround(std::clamp(buffer_[i], -1.0f, 1.0f) * 32767.0f));
      std::memcpy(data, samples.data(), samples.size() * sizeof(std::int16_t));
    }
    return frames * frameBytes;
  }
  qint64 writeData(const char*, qint64) override { return -1; }

 private:
  StemMixer& mixer_;
  bool floats_;
  std::vector<float> buffer_;
};

double framesPerSecond(const FrameRate& rate) {
  return rate.den > 0 && rate.num > 0 ? static_cast<double>(rate.num) / static_cast<double>(rate.den) : 30.0;
}

}  // namespace

struct PlaybackEngine::State {
  std::shared_ptr<const CompositionBuild> build;
  BrevSequence seq;
  FrameRate rate{30, 1};
  float speed = 0;
  std::int64_t position = 0;
  std::int64_t announced = 0;  // the position last sent out

  // The clock: frames since `anchor`, from the sound device while it plays,
  // else from a steady timer.
  std::int64_t anchor = 0;
  QElapsedTimer steady;
  bool prerolling = false;
  QElapsedTimer preroll;
  bool soundClock = false;
  qint64 soundUSecs = -1;
  qint64 soundReadAt = 0;  // steady ns when the device's reading last moved
  double lastClock = 0;

  // Pictures: `shown` is the frame on screen when it belongs to the current build.
  std::optional<std::int64_t> shown;
  std::int64_t nextDue = 0;  // first frame to show not yet shown or passed
  std::int64_t framesShown = 0;
  std::int64_t framesDropped = 0;
  std::optional<std::int64_t> firstWanted;
  qint64 positionAt = -kPositionEveryNs;
  qint64 metersAt = -kMetersEveryNs;

  // Sound.
  std::optional<bool> device;  // looked up once, on first need
  bool toldNoSound = false;
  StemMixer mixer;
  std::map<std::filesystem::path, std::shared_ptr<const StemSamples>> stemFiles;
  std::unique_ptr<MixDevice> source;
  std::unique_ptr<QAudioSink> sink;

  QTimer ticker;
  std::atomic<bool> landedPending{false};
  std::unique_ptr<FramePump> pump;  // last: its workers stop before the rest goes

  int direction() const { return speed < 0 ? -1 : 1; }
  std::int64_t step() const { return std::max<std::int64_t>(1, std::llround(std::fabs(speed))); }
  std::int64_t duration() const { return build ? build->duration : 0; }
};

PlaybackEngine::PlaybackEngine(QObject* parent) : QObject(parent), state_(std::make_unique<State>()) {
  State& s = *state_;
  s.steady.start();
  s.ticker.setTimerType(Qt::PreciseTimer);
  s.ticker.setInterval(kTickMs);
  connect(&s.ticker, &QTimer::timeout, this, [this] { tick(); });
  s.pump = std::make_unique<FramePump>(kWorkers, [this] {
    // Many pictures may land between two turns of the event loop; one call looks at them all.
    if (!state_->landedPending.exchange(true))
      QMetaObject::invokeMethod(this, [this] { landed(); }, Qt::QueuedConnection);
  });
}

PlaybackEngine::~PlaybackEngine() {
  state_->ticker.stop();
  state_->pump.reset();
  stopSound();
}

float PlaybackEngine::rate() const { return state_->speed; }
std::int64_t PlaybackEngine::position() const { return state_->position; }
std::int64_t PlaybackEngine::duration() const { return state_->duration(); }
std::int64_t PlaybackEngine::framesShown() const { return state_->framesShown; }
std::int64_t PlaybackEngine::framesDropped() const { return state_->framesDropped; }
std::int64_t PlaybackEngine::framesDrawn() const { return state_->pump->framesDrawn(); }
double PlaybackEngine::averageDrawMilliseconds() const { return state_->pump->averageDrawMilliseconds(); }
std::vector<StemGain> PlaybackEngine::soundGains() const { return state_->mixer.gains(); }

bool PlaybackEngine::soundAvailable() const {
  State& s = *state_;
  if (!s.device) s.device = !QMediaDevices::defaultAudioOutput().isNull();
  return *s.device;
}

void PlaybackEngine::setRate(float rate) {
  State& s = *state_;
  if (rate == s.speed || !std::isfinite(rate)) return;
  stopSound();
  s.speed = rate;
  restartClock();
  if (rate == 0) {
    s.ticker.stop();
    if (!s.seq.audio.empty()) Q_EMIT metersChanged(Meters{std::vector<MeterLevel>(s.seq.audio.size()), {}});
    showStill();
    return;
  }
  if (rate == 1) startSound();
  s.ticker.start();
  tick();
}

void PlaybackEngine::replaceItem(const std::shared_ptr<const ProgramBuild>& build, const BrevSequence& seq) {
  State& s = *state_;
  s.build = std::dynamic_pointer_cast<const CompositionBuild>(build);
  s.seq = seq;
  const FrameRate rate = s.build && s.build->plan ? s.build->plan->rate : seq.rate;
  // Frames of another rate: the clock starts again from the same frame.
  if (rate != s.rate) {
    s.rate = rate;
    restartClock();
    if (s.soundClock) restartSound();
  }
  s.pump->setBuild(s.build);
  s.shown.reset();
  s.firstWanted.reset();

  // Stems are mapped once per file; an edit that leaves a track alone keeps its stem.
  std::map<std::filesystem::path, std::shared_ptr<const StemSamples>> files;
  std::vector<std::shared_ptr<const StemSamples>> stems;
  if (s.build)
    for (const Stem& stem : s.build->stems) {
      std::shared_ptr<const StemSamples> samples;
      if (!stem.url.empty()) {
        if (const auto it = s.stemFiles.find(stem.url); it != s.stemFiles.end()) {
          samples = it->second;
        } else if (auto opened = StemSamples::open(stem.url)) {
          samples = std::move(opened).value();
        }
        if (samples) files[stem.url] = samples;
      }
      stems.push_back(std::move(samples));
    }
  s.stemFiles = std::move(files);
  s.mixer.setStems(std::move(stems));
  s.mixer.setGains(stemGains(s.build ? s.build->audioMix : std::vector<TrackVolume>{}, seq));

  if (!s.build) Q_EMIT frameShown(QImage(), s.position);
  if (s.speed == 0)
    showStill();
  else
    tick();
}

void PlaybackEngine::updateAudioMix(const ProgramBuild& build, const BrevSequence& seq) {
  State& s = *state_;
  s.seq = seq;
  const auto* composition = dynamic_cast<const CompositionBuild*>(&build);
  if (!composition) composition = s.build.get();
  s.mixer.setGains(stemGains(composition ? composition->audioMix : std::vector<TrackVolume>{}, seq));
}

void PlaybackEngine::seek(std::int64_t frame, const FrameRate& rate) {
  State& s = *state_;
  if (!s.build) s.rate = rate;
  frame = std::max<std::int64_t>(frame, 0);
  // The position we announced coming back (the editor's playhead follows
  // us, and it seeks after each rebuild): playback goes on undisturbed.
  if (s.speed != 0 && (frame == s.position || frame == s.announced)) return;
  if (s.speed == 0 && frame == s.position && s.shown == frame) return;
  s.position = frame;
  restartClock();
  if (s.speed == 0) {
    showStill();
  } else {
    if (s.soundClock) restartSound();
    tick();
  }
  s.positionAt = s.steady.nsecsElapsed();
  announce(frame);
}

void PlaybackEngine::restartClock() {
  State& s = *state_;
  s.anchor = s.position;
  s.nextDue = s.position;
  s.lastClock = static_cast<double>(s.position);
  s.framesShown = 0;
  s.framesDropped = 0;
  s.firstWanted.reset();
  s.steady.restart();
  s.soundUSecs = -1;
  s.soundReadAt = 0;
  s.positionAt = -kPositionEveryNs;
  s.metersAt = -kMetersEveryNs;
  s.prerolling = true;
  s.preroll.restart();
}

double PlaybackEngine::clockFrame() {
  State& s = *state_;
  const double fps = framesPerSecond(s.rate);
  const qint64 now = s.steady.nsecsElapsed();
  double seconds = 0;
  if (s.soundClock && s.sink) {
    const qint64 used = s.sink->processedUSecs();
    if (used != s.soundUSecs) {
      s.soundUSecs = used;
      s.soundReadAt = now;
    }
    // The device reports in steps; between them the clock runs on a little.
    seconds = static_cast<double>(used) / 1e6;
    if (used > 0) seconds += std::min(static_cast<double>(now - s.soundReadAt) / 1e9, kSoundExtrapolationSeconds);
  } else {
    seconds = static_cast<double>(now) / 1e9 * static_cast<double>(std::fabs(s.speed));
  }
  const double clock = static_cast<double>(s.anchor) + s.direction() * seconds * fps;
  // Never backwards, whatever the device's steps do.
  s.lastClock = s.direction() > 0 ? std::max(s.lastClock, clock) : std::min(s.lastClock, clock);
  return s.lastClock;
}

void PlaybackEngine::tick() {
  State& s = *state_;
  if (s.speed == 0) return;
  if (s.soundClock && s.soundUSecs <= 0 && s.steady.nsecsElapsed() > kSoundStartLimitNs) playSilently();

  const int dir = s.direction();
  const std::int64_t step = s.step();
  const std::int64_t last = std::max<std::int64_t>(s.duration() - 1, 0);
  if (s.prerolling) {
    // The sound device has a start-up of its own that the picture follows.
    if (s.soundClock || s.pump->ready(s.anchor + step * dir) || s.preroll.nsecsElapsed() > kPrerollLimitNs)
      s.prerolling = false;
    else
      s.steady.restart();  // the clock stays where playing began
  }
  const double clock = clockFrame();
  std::int64_t frame = dir > 0 ? static_cast<std::int64_t>(std::floor(clock + 1e-6))
                               : static_cast<std::int64_t>(std::ceil(clock - 1e-6));
  const bool end = dir > 0 ? frame > last : frame <= 0;
  if (end) return pauseAtEnd(dir > 0 ? last : 0);

  // Shuttle faster than 1× shows every step-th frame from where it started.
  const std::int64_t due = s.anchor + (frame - s.anchor) * dir / step * step * dir;
  s.position = frame;
  // The picture already up when playing began is not shown again.
  if (s.shown == due && s.nextDue == due) s.nextDue = due + step * dir;
  if (s.shown != due) {
    if (auto picture = s.pump->ready(due)) {
      const std::int64_t passed = (due - s.nextDue) * dir / step;
      if (passed > 0) s.framesDropped += passed;
      s.nextDue = due + step * dir;
      show(due, std::move(*picture));
    }
  }

  const std::int64_t first = s.shown == due ? due + step * dir : due;
  if (s.firstWanted != first) {
    s.firstWanted = first;
    std::vector<std::int64_t> wanted;
    for (std::int64_t f = first; wanted.size() < kAhead && f >= 0 && f <= last; f += step * dir) wanted.push_back(f);
    s.pump->want(std::move(wanted));
  }

  const qint64 now = s.steady.nsecsElapsed();
  if (now - s.positionAt >= kPositionEveryNs) {
    s.positionAt = now;
    announce(frame);
  }
  if (s.speed == 1 && s.build && now - s.metersAt >= kMetersEveryNs) {
    s.metersAt = now;
    Q_EMIT metersChanged(meterLevels(s.seq, s.build->stems, s.rate.seconds(frame)));
  }
}

void PlaybackEngine::pauseAtEnd(std::int64_t frame) {
  State& s = *state_;
  s.position = frame;
  s.speed = 0;
  s.ticker.stop();
  stopSound();
  if (s.shown != frame) {
    s.firstWanted = frame;
    s.pump->want({frame});
    if (auto picture = s.pump->ready(frame)) show(frame, std::move(*picture));
  }
  announce(frame);
  Q_EMIT reachedEnd();
}

void PlaybackEngine::showStill() {
  State& s = *state_;
  if (!s.build || s.shown == s.position) return;
  s.firstWanted = s.position;
  s.pump->want({s.position});
  if (auto picture = s.pump->ready(s.position)) show(s.position, std::move(*picture));
}

void PlaybackEngine::landed() {
  State& s = *state_;
  s.landedPending = false;
  if (s.speed != 0) return tick();
  if (s.shown == s.position) return;
  if (auto picture = s.pump->ready(s.position)) show(s.position, std::move(*picture));
}

void PlaybackEngine::announce(std::int64_t frame) {
  state_->announced = frame;
  Q_EMIT positionChanged(frame);
}

void PlaybackEngine::show(std::int64_t frame, QImage picture) {
  State& s = *state_;
  s.shown = frame;
  ++s.framesShown;
  Q_EMIT frameShown(std::move(picture), frame);
}

void PlaybackEngine::startSound() {
  State& s = *state_;
  if (!soundAvailable()) return playSilently();
  const QAudioDevice device = QMediaDevices::defaultAudioOutput();
  QAudioFormat format;
  format.setSampleRate(static_cast<int>(Mixer::kRate));
  format.setChannelCount(2);
  format.setSampleFormat(QAudioFormat::Float);
  if (!device.isFormatSupported(format)) format.setSampleFormat(QAudioFormat::Int16);
  const bool floats = format.sampleFormat() == QAudioFormat::Float;

  s.mixer.seek(Mixer::sampleAt(s.rate, s.position));
  s.source = std::make_unique<MixDevice>(s.mixer, floats);
  s.source->open(QIODevice::ReadOnly);
  s.sink = std::make_unique<QAudioSink>(device, format);
  // A short buffer: a fader move is heard within a tenth of a second.
  s.sink->setBufferSize(format.bytesForDuration(kSoundBufferMs * 1000));
  s.sink->start(s.source.get());
  if (s.sink->error() != QAudio::NoError || s.sink->state() == QAudio::StoppedState) {
    s.device = false;
    return playSilently();
  }
  s.soundClock = true;
  s.soundUSecs = -1;
}

// The device's clock counts from its own start, so a jump starts it again.
void PlaybackEngine::restartSound() {
  stopSound();
  startSound();
}

void PlaybackEngine::stopSound() {
  State& s = *state_;
  if (s.sink) s.sink->stop();
  s.sink.reset();
  s.source.reset();
  s.soundClock = false;
}

void PlaybackEngine::playSilently() {
  State& s = *state_;
  if (s.sink) {
    // The device never started: carry on from where the picture is, on the steady clock.
    stopSound();
    s.device = false;
    restartClock();
  }
  if (s.toldNoSound) return;
  s.toldNoSound = true;
  Q_EMIT soundUnavailable(kNoSound);
}

}  // namespace brevelan
