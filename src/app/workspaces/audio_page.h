#pragma once

#include <QHBoxLayout>
#include <QWidget>

#include <cstdint>
#include <memory>
#include <vector>

namespace brevelan {

class AudioClipSound;
class AudioStrip;
class EditorModel;
class PlaybackEngine;
class VoiceOverMeter;
class VoiceOverRecorder;
namespace kit {
class IconButton;
class LcdReadout;
}

// The AUDIO workspace: the mixer (a strip per audio track with fader, pan,
// mute, solo and meter, and the master strip) and the selected clip's sound:
// gain, pan, fades, the ten-band EQ, noise gate and compressor; Mark Beats.
// The header's red microphone records a voice-over (with the microphone's
// level beside it while it records). Without a recorder of its own the
// editor is given one on the system's default sound input.
class AudioPage : public QWidget {
  Q_OBJECT
 public:
  AudioPage(EditorModel& editor, PlaybackEngine& program, QWidget* parent = nullptr);
  ~AudioPage() override;

  // The strips of the open sequence's audio tracks, A1 first, and the master.
  const std::vector<AudioStrip*>& strips() const { return strips_; }
  AudioStrip* master() const { return master_; }
  AudioClipSound* clipSound() const { return clipSound_; }
  kit::IconButton* recordButton() const { return record_; }
  VoiceOverMeter* inputMeter() const { return inputMeter_; }

  // Starts a voice-over at the playhead, or ends the one recording: the
  // microphone button, and the Ctrl+Alt+R command.
  void toggleRecording();

 private:
  void rebuildStrips();
  void refreshMixer();
  void refreshMeters();
  void refreshPlayhead();
  void refreshRecording();
  // The index of the strip's track in the open sequence, or -1.
  std::int64_t trackIndex(const AudioStrip* strip) const;

  EditorModel& editor_;
  std::uint64_t subscription_ = 0;
  bool refreshing_ = false;

  QHBoxLayout* stripRow_;
  std::vector<AudioStrip*> strips_;
  AudioStrip* master_;
  AudioClipSound* clipSound_;
  kit::LcdReadout* timecode_;
  kit::IconButton* record_;
  VoiceOverMeter* inputMeter_;
  std::shared_ptr<VoiceOverRecorder> recorder_;
  QWidget* noTracks_;
};

}  // namespace brevelan
