// The mixer's red microphone, pressed with the mouse over a real editor whose
// recorder reads a tone file instead of a microphone.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QFile>
#include <QTest>

#include <cmath>
#include <memory>

#include "app/kit/icon_button.h"
#include "app/playback/playback_engine.h"
#include "app/playback/voice_over_recorder.h"
#include "app/workspaces/audio_page.h"
#include "app/workspaces/audio_strip.h"
#include "app/workspaces/voice_over_meter.h"
#include "edit/editor_model.h"
#include "media/media_probe.h"
#include "support/temp_dir.h"
#include "support/widget_app.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

// Half a second of a half-scale 48 kHz stereo float tone.
QByteArray tone() {
  QByteArray bytes;
  for (int i = 0; i < 24000; ++i) {
    const auto value = static_cast<float>(0.5 * std::sin(i * 0.0576));
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  return bytes;
}

class AudioVoiceOver : public ::testing::Test {
 protected:
  void SetUp() override {
    testing::widgetApp();
    input_.setData(tone());
    auto recorder = std::make_shared<VoiceOverRecorder>(
        [this]() -> Expected<VoiceOverRecorder::Source, VoiceOverFailure> {
          if (!microphone_) return Unexpected{VoiceOverFailure{false, "No microphone or other sound input was found."}};
          input_.open(QIODevice::ReadOnly);
          return VoiceOverRecorder::Source{format(), &input_, [this] { input_.close(); }};
        },
        dir_ / "Voice-overs");
    editor_.setVoiceOverInput(recorder, std::make_shared<MediaProbe>());
    page_ = std::make_unique<AudioPage>(editor_, program_);
    page_->resize(1200, 700);
    page_->show();
  }

  static QAudioFormat format() {
    QAudioFormat f;
    f.setSampleRate(48000);
    f.setChannelCount(2);
    f.setSampleFormat(QAudioFormat::Float);
    return f;
  }

  void press() { QTest::mouseClick(page_->recordButton(), Qt::LeftButton); }

  testing::TempDir dir_;
  QBuffer input_;
  bool microphone_ = true;
  EditorModel editor_{Project::make()};
  PlaybackEngine program_;
  std::unique_ptr<AudioPage> page_;
};

TEST_F(AudioVoiceOver, TheMicrophoneButtonRecordsATakeOntoVO) {
  // Without a microphone the button stays off.
  microphone_ = false;
  press();
  EXPECT_FALSE(page_->recordButton()->isChecked());
  ASSERT_TRUE(editor_.state().alert.has_value());
  EXPECT_EQ(editor_.state().alert->title, "Could not record");

  microphone_ = true;
  editor_.setPlayhead(15);
  press();
  EXPECT_TRUE(page_->recordButton()->isChecked());
  EXPECT_TRUE(page_->inputMeter()->isVisible());
  EXPECT_NEAR(page_->inputMeter()->level(), 0.5, 0.01);

  page_->toggleRecording();  // the menu command does what the button does
  EXPECT_FALSE(page_->recordButton()->isChecked());
  EXPECT_FALSE(page_->inputMeter()->isVisible());
  const Track& vo = editor_.activeSequence()->audio.back();
  ASSERT_EQ(vo.clips.size(), 1u);
  EXPECT_EQ(vo.clips[0].start, 15);
  EXPECT_EQ(vo.clips[0].duration, 15);
  EXPECT_EQ(page_->strips().back()->objectName(), "strip VO");  // the mixer shows the new track
}

}  // namespace
}  // namespace brevelan
