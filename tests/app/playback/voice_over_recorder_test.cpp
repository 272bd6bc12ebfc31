#include "app/playback/voice_over_recorder.h"

#include <gtest/gtest.h>

#include <QBuffer>

#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

#include "edit/editor_model.h"
#include "media/audio_reader.h"
#include "media/media_probe.h"
#include "support/temp_dir.h"
#include "support/widget_app.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using Source = VoiceOverRecorder::Source;

QAudioFormat format(int rate, int channels, QAudioFormat::SampleFormat type) {
  QAudioFormat f;
  f.setSampleRate(rate);
  f.setChannelCount(channels);
  f.setSampleFormat(type);
  return f;
}

const QAudioFormat kStereoFloat = format(48000, 2, QAudioFormat::Float);

double toneAt(double seconds) { return 0.5 * std::sin(2 * std::numbers::pi * 440 * seconds); }

// `frames` of a half-scale 440 Hz tone as the input would deliver it (float or 16-bit).
QByteArray tone(const QAudioFormat& f, int frames) {
  QByteArray bytes;
  for (int i = 0; i < frames; ++i)
    for (int c = 0; c < f.channelCount(); ++c) {
      const double value = toneAt(static_cast<double>(i) / f.sampleRate());
      const auto asFloat = static_cast<float>(value);
      const auto asInt = static_cast<qint16>(std::lround(value * 32767));
      if (f.sampleFormat() == QAudioFormat::Int16) bytes.append(reinterpret_cast<const char*>(&asInt), 2);
      else bytes.append(reinterpret_cast<const char*>(&asFloat), 4);
    }
  return bytes;
}

std::vector<std::string> filesIn(const fs::path& folder) {
  std::vector<std::string> files;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) files.push_back(entry.path().filename().string());
  std::sort(files.begin(), files.end());
  return files;
}

class VoiceOverRecorderTest : public ::testing::Test {
 protected:
  void SetUp() override { testing::widgetApp(); }

  // A recorder whose input is a buffer of samples in `f`; every take starts
  // at 2024-05-01 14:03:07.
  std::shared_ptr<VoiceOverRecorder> recorder(const QAudioFormat& f, const QByteArray& samples) {
    input_.setData(samples);
    return std::make_shared<VoiceOverRecorder>(
        [this, f]() -> Expected<Source, VoiceOverFailure> {
          input_.open(QIODevice::ReadOnly);
          return Source{f, &input_, [this] { input_.close(); }};
        },
        folder_, [] { return QDateTime(QDate(2024, 5, 1), QTime(14, 3, 7)); });
  }

  testing::TempDir dir_;
  fs::path folder_ = dir_ / "Voice-overs";
  QBuffer input_;
};

TEST_F(VoiceOverRecorderTest, TakesAreDatedFilesOfTheInputAsStereoFloat) {
  const QAudioFormat inputs[] = {kStereoFloat, format(24000, 1, QAudioFormat::Int16)};
  for (const QAudioFormat& f : inputs) {
    SCOPED_TRACE(f.sampleRate());
    auto take = recorder(f, tone(f, f.sampleRate()));  // one second
    ASSERT_TRUE(take->start());
    auto file = take->stop();
    ASSERT_TRUE(file) << file.error();
    auto sound = decodeSound(*file);
    ASSERT_TRUE(sound) << sound.error();
    ASSERT_EQ(sound->size(), 2u * 48000);
    for (std::size_t i = 0; i < 48000; i += 997) {
      EXPECT_NEAR((*sound)[2 * i], toneAt(i / 48000.0), 0.02) << "frame " << i;
      EXPECT_EQ((*sound)[2 * i], (*sound)[2 * i + 1]);
    }
  }
  // Two takes within one second keep a file each.
  EXPECT_EQ(filesIn(folder_), (std::vector<std::string>{"Voice-over 2024-05-01 at 14.03.07 2.caf",
                                                          "Voice-over 2024-05-01 at 14.03.07.caf"}));
}

TEST_F(VoiceOverRecorderTest, MetersAndKeepsAnInterruptedTakeWhole) {
  auto take = recorder(kStereoFloat, {});
  QBuffer microphone(&input_.buffer());  // more sound arriving on the input
  microphone.open(QIODevice::WriteOnly);
  ASSERT_TRUE(take->start());
  microphone.write(tone(kStereoFloat, 4096));
  Q_EMIT input_.readyRead();
  EXPECT_NEAR(take->level(), 0.5, 0.01);
  // Until it is complete, the take is hidden under a name that is not a sound file's.
  for (const std::string& name : filesIn(folder_)) EXPECT_FALSE(name.ends_with(".caf")) << name;

  const fs::path file = take->takePath();
  take.reset();  // the project closes mid-take
  EXPECT_EQ(filesIn(folder_), (std::vector<std::string>{file.filename().string()}));
  auto sound = decodeSound(file);
  ASSERT_TRUE(sound) << sound.error();
  EXPECT_EQ(sound->size(), 2u * 4096);
}

TEST_F(VoiceOverRecorderTest, RecordsTakesOntoVO) {
  EditorModel editor(Project::make());
  editor.setVoiceOverInput(recorder(kStereoFloat, tone(kStereoFloat, 48000)), std::make_shared<MediaProbe>());
  for (const std::int64_t at : {30, 45}) {
    editor.setPlayhead(at);
    ASSERT_TRUE(editor.toggleVoiceOver());
    ASSERT_TRUE(editor.toggleVoiceOver());
    ASSERT_FALSE(editor.state().alert.has_value()) << editor.state().alert->message;
  }
  // One second each; the second take overwrote the first from frame 45 on.
  const Track& vo = editor.activeSequence()->audio.back();
  EXPECT_EQ(vo.name, "VO");
  ASSERT_EQ(vo.clips.size(), 2u);
  EXPECT_EQ(std::make_pair(vo.clips[0].start, vo.clips[0].end()), std::make_pair(30L, 45L));
  EXPECT_EQ(std::make_pair(vo.clips[1].start, vo.clips[1].end()), std::make_pair(45L, 75L));
  EXPECT_EQ(fs::path(editor.project().mediaItem(*vo.clips[1].source.mediaID())->path),
            folder_ / "Voice-over 2024-05-01 at 14.03.07 2.caf");
}

TEST_F(VoiceOverRecorderTest, NoInputDeviceCannotRecord) {
  auto take = std::make_shared<VoiceOverRecorder>(
      []() -> Expected<Source, VoiceOverFailure> { return Unexpected{VoiceOverFailure{false, "No microphone."}}; },
      folder_);
  EditorModel editor(Project::make());
  editor.setVoiceOverInput(take, std::make_shared<MediaProbe>());
  EXPECT_FALSE(editor.toggleVoiceOver());
  ASSERT_TRUE(editor.state().alert.has_value());
  EXPECT_EQ(editor.state().alert->title, "Could not record");
  EXPECT_EQ(editor.state().alert->message, "No microphone.");
  EXPECT_TRUE(filesIn(folder_).empty());
}

}  // namespace
}  // namespace brevelan
