#include "app/playback/voice_over_recorder.h"

#include <QAudioDevice>
#include <QAudioSource>
#include <QMediaDevices>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <system_error>

#include "app/playback/voice_over_file.h"
#include "model/app_folders.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

// One sample of channel `channel` of the frame at `frame`, as a float.
float sampleAt(const char* frame, const QAudioFormat& format, int channel) {
  const char* at = frame + channel * format.bytesPerSample();
  switch (format.sampleFormat()) {
    case QAudioFormat::UInt8:
      return (static_cast<float>(static_cast<unsigned char>(*at)) - 128.0f) / 128.0f;
    case QAudioFormat::Int16: {
      qint16 value;
      std::memcpy(&value, at, sizeof value);
      return static_cast<float>(value) / 32768.0f;
    }
    case QAudioFormat::Int32: {
      qint32 value;
      std::memcpy(&value, at, sizeof value);
      return static_cast<float>(static_cast<double>(value) / 2147483648.0);
    }
    case QAudioFormat::Float: {
      float value;
      std::memcpy(&value, at, sizeof value);
      return value;
    }
    default:
      return 0;
  }
}

bool usable(const QAudioFormat& format) {
  return format.isValid() && format.sampleFormat() != QAudioFormat::Unknown &&
         format.sampleFormat() != QAudioFormat::NSampleFormats && format.channelCount() > 0;
}

// A name in `folder` that no file has yet: the dated name, or with " 2",
// " 3", … before the extension when two takes start within one second.
fs::path freeName(const fs::path& folder, const QString& name) {
  const fs::path first = folder / name.toStdString();
  std::error_code ignored;
  if (!fs::exists(first, ignored)) return first;
  const std::string stem = first.stem().string();
  for (int n = 2;; ++n) {
    const fs::path candidate = folder / (stem + " " + std::to_string(n) + ".caf");
    if (!fs::exists(candidate, ignored)) return candidate;
  }
}

fs::path partialName(const fs::path& take) { return take.parent_path() / (std::string(".") + take.filename().string() + ".part"); }

}  // namespace

VoiceOverRecorder::VoiceOverRecorder(QObject* parent)
    : VoiceOverRecorder(&VoiceOverRecorder::openMicrophone, defaultFolder(), {}, parent) {}

VoiceOverRecorder::VoiceOverRecorder(SourceOpener open, fs::path folder, Clock clock, QObject* parent)
    : QObject(parent), open_(std::move(open)), folder_(std::move(folder)), clock_(std::move(clock)) {
  if (!clock_) clock_ = [] { return QDateTime::currentDateTime(); };
}

VoiceOverRecorder::~VoiceOverRecorder() {
  // Closing the project or the program mid-take keeps the take whole.
  if (recording()) (void)stop();
}

fs::path VoiceOverRecorder::defaultFolder() { return AppFolders::support() / kFolderName; }

QString VoiceOverRecorder::takeName(const QDateTime& start) {
  return "Voice-over " + start.toString("yyyy-MM-dd 'at' HH.mm.ss") + ".caf";
}

Expected<VoiceOverRecorder::Source, VoiceOverFailure> VoiceOverRecorder::openMicrophone() {
  const QAudioDevice device = QMediaDevices::defaultAudioInput();
  if (device.isNull()) return Unexpected{VoiceOverFailure{false, "No microphone or other sound input was found."}};
  QAudioFormat format;
  format.setSampleRate(VoiceOverFile::kRate);
  format.setChannelCount(VoiceOverFile::kChannels);
  format.setSampleFormat(QAudioFormat::Float);
  if (!device.isFormatSupported(format)) format = device.preferredFormat();
  if (!usable(format))
    return Unexpected{VoiceOverFailure{false, std::string("The sound input \"") + device.description().toStdString() +
                                                  "\" offers no sound format that can be recorded."}};

  auto input = std::make_shared<QAudioSource>(device, format);
  input->setBufferSize(format.bytesForFrames(kBufferFrames));
  QIODevice* arrivals = input->start();
  if (input->error() == QAudio::OpenError) return Unexpected{VoiceOverFailure{true, "The sound input could not be opened."}};
  if (!arrivals || input->error() != QAudio::NoError)
    return Unexpected{VoiceOverFailure{false, std::string("The sound input \"") + device.description().toStdString() +
                                                  "\" could not be started."}};
  return Source{format, arrivals, [input] { input->stop(); }};
}

Expected<void, VoiceOverFailure> VoiceOverRecorder::start() {
  if (recording()) return Unexpected{VoiceOverFailure{false, "A voice-over is already being recorded."}};
  const QDateTime started = clock_();
  std::error_code error;
  fs::create_directories(folder_, error);
  if (error) return Unexpected{VoiceOverFailure{false, std::string("Could not make the folder ") + folder_.string() + ": " + error.message()}};

  auto opened = open_();
  if (!opened) return Unexpected{opened.error()};
  Source source = std::move(opened).value();
  const auto stopSource = [&source] {
    if (source.close) source.close();
  };
  if (!source.device || !usable(source.format)) {
    stopSource();
    return Unexpected{VoiceOverFailure{false, "The sound input gave no sound that can be recorded."}};
  }

  const fs::path final = freeName(folder_, takeName(started));
  auto file = VoiceOverFile::create(partialName(final));
  if (!file) {
    stopSource();
    return Unexpected{VoiceOverFailure{false, file.error()}};
  }

  source_ = std::move(source);
  take_ = std::move(file).value();
  final_ = final;
  writeError_.clear();
  partial_.clear();
  haveLast_ = false;
  position_ = 0;
  arrivals_ = connect(source_.device, &QIODevice::readyRead, this, &VoiceOverRecorder::pull);
  Q_EMIT recordingChanged(true);
  // Whatever the input already holds belongs to the take.
  pull();
  return {};
}

Expected<fs::path, std::string> VoiceOverRecorder::stop() {
  if (!recording()) return Unexpected{std::string("No voice-over is being recorded.")};
  pull();
  // The input's last frame still stands for its own span of time.
  if (haveLast_ && take_ && writeError_.empty()) {
    const double step = static_cast<double>(source_.format.sampleRate()) / VoiceOverFile::kRate;
    output_.clear();
    for (; position_ < 1; position_ += step) output_.insert(output_.end(), last_.begin(), last_.end());
    if (auto appended = take_->append(output_); !appended) writeError_ = appended.error();
    haveLast_ = false;
  }
  disconnect(arrivals_);
  if (source_.close) source_.close();
  source_ = Source{};

  auto finished = take_->finish();
  const fs::path partial = take_->path();
  take_.reset();
  setLevel(0);
  Q_EMIT recordingChanged(false);
  if (!finished) return Unexpected{finished.error()};
  std::error_code error;
  fs::rename(partial, final_, error);
  if (error) return Unexpected{std::string("Could not name the take ") + final_.filename().string() + ": " + error.message()};
  return final_;
}

void VoiceOverRecorder::pull() {
  if (!take_ || !source_.device) return;
  const QByteArray bytes = source_.device->readAll();
  if (bytes.isEmpty()) return;
  convert(bytes);
  if (output_.empty() || !writeError_.empty()) return;
  // A full disk stops the take growing; what was written stays playable.
  if (auto appended = take_->append(output_); !appended) writeError_ = appended.error();
}

void VoiceOverRecorder::convert(const QByteArray& bytes) {
  const QAudioFormat& format = source_.format;
  const int frameBytes = format.bytesPerFrame();
  partial_.append(bytes);
  const qsizetype frames = partial_.size() / frameBytes;
  const int channels = format.channelCount();

  input_.clear();
  if (haveLast_) input_.insert(input_.end(), last_.begin(), last_.end());
  float peak = 0;
  for (qsizetype i = 0; i < frames; ++i) {
    const char* frame = partial_.constData() + i * frameBytes;
    const float left = sampleAt(frame, format, 0);
    const float right = channels > 1 ? sampleAt(frame, format, 1) : left;
    peak = std::max(peak, std::fabs(left));
    input_.push_back(left);
    input_.push_back(right);
  }
  partial_.remove(0, frames * frameBytes);
  output_.clear();
  if (frames > 0) setLevel(peak);

  const std::size_t count = input_.size() / 2;
  if (format.sampleRate() == VoiceOverFile::kRate) {
    const std::size_t skip = haveLast_ ? 2 : 0;
    output_.assign(input_.begin() + static_cast<std::ptrdiff_t>(skip), input_.end());
    haveLast_ = false;
    return;
  }
  // Any other rate is brought to 48 kHz by linear interpolation, carrying
  // the last frame and the position over to the next buffer.
  if (count == 0) return;
  const double step = static_cast<double>(format.sampleRate()) / VoiceOverFile::kRate;
  for (;;) {
    const auto at = static_cast<std::size_t>(position_);
    if (at + 1 >= count) break;
    const auto t = static_cast<float>(position_ - static_cast<double>(at));
    for (std::size_t c = 0; c < 2; ++c) output_.push_back(input_[2 * at + c] * (1 - t) + input_[2 * (at + 1) + c] * t);
    position_ += step;
  }
  last_ = {input_[2 * (count - 1)], input_[2 * (count - 1) + 1]};
  haveLast_ = true;
  position_ -= static_cast<double>(count - 1);
}

void VoiceOverRecorder::setLevel(float level) {
  if (level_ == level) return;
  level_ = level;
  Q_EMIT levelChanged(level);
}

}  // namespace brevelan
