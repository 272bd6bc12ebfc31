#pragma once

#include <QAudioFormat>
#include <QDateTime>
#include <QIODevice>
#include <QMetaObject>
#include <QObject>
#include <QString>

#include <array>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "edit/voice_over_input.h"
#include "model/expected.h"

namespace brevelan {

class VoiceOverFile;

// Records voice-over takes from a sound input, one at a time. Each take is
// written as it arrives, as 48 kHz stereo float CAF, under a hidden
// temporary name in the "Voice-overs" folder, and moved to its dated name
// ("Voice-over 2024-05-01 at 14.03.07.caf") once complete, so a half take is
// never mistaken for a whole one. Destroying the recorder during a take ends
// the take normally: nothing heard is lost. Main thread only; the input's
// samples arrive through the event loop.
class VoiceOverRecorder : public QObject, public VoiceOverInput {
  Q_OBJECT
 public:
  // A running sound input: its samples arrive on `device` in `format`, and
  // `close` stops it (after which the device may be gone).
  struct Source {
    QAudioFormat format;
    QIODevice* device = nullptr;
    std::function<void()> close;
  };
  using SourceOpener = std::function<Expected<Source, VoiceOverFailure>()>;
  using Clock = std::function<QDateTime()>;

  static constexpr const char* kFolderName = "Voice-overs";
  // Samples are taken from the input in buffers of about this many frames.
  static constexpr int kBufferFrames = 4096;

  // Records from the system's default sound input into defaultFolder().
  explicit VoiceOverRecorder(QObject* parent = nullptr);
  // Records from whatever `open` starts, into `folder`; `clock` names the takes.
  VoiceOverRecorder(SourceOpener open, std::filesystem::path folder, Clock clock = {}, QObject* parent = nullptr);
  ~VoiceOverRecorder() override;

  // The application folder's "Voice-overs".
  static std::filesystem::path defaultFolder();
  // "Voice-over " + the start formatted "yyyy-MM-dd 'at' HH.mm.ss" + ".caf".
  static QString takeName(const QDateTime& start);
  // Starts the default sound input, asking for 48 kHz stereo float and
  // taking the device's own format when it cannot give that. A device that
  // will not open counts as refused; no device at all is a plain failure.
  static Expected<Source, VoiceOverFailure> openMicrophone();

  Expected<void, VoiceOverFailure> start() override;
  // Ends the take: the last samples are written, the file is completed and
  // moved to its dated name, which is returned.
  Expected<std::filesystem::path, std::string> stop() override;
  bool recording() const override { return static_cast<bool>(take_); }

  // The peak magnitude of the input's first channel over the latest buffer
  // (1 = full scale); 0 when not recording.
  float level() const { return level_; }
  const std::filesystem::path& folder() const { return folder_; }
  // Where the running take will be once complete.
  const std::filesystem::path& takePath() const { return final_; }

 Q_SIGNALS:
  void levelChanged(float level);
  void recordingChanged(bool recording);

 private:
  // Reads what the input has and appends it to the take.
  void pull();
  void convert(const QByteArray& bytes);
  void setLevel(float level);

  SourceOpener open_;
  std::filesystem::path folder_;
  Clock clock_;

  Source source_;
  QMetaObject::Connection arrivals_;
  std::unique_ptr<VoiceOverFile> take_;
  std::filesystem::path final_;
  std::string writeError_;
  float level_ = 0;

  // Conversion of the input's format to 48 kHz stereo float.
  QByteArray partial_;             // bytes of a frame not yet whole
  std::array<float, 2> last_{};    // the input frame before the current buffer
  bool haveLast_ = false;
  double position_ = 0;            // next output time, in input frames after last_
  std::vector<float> input_;
  std::vector<float> output_;
};

}  // namespace brevelan
