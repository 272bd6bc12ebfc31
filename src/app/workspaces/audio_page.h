#pragma once

#include <QWidget>

#include <cstdint>

namespace brevelan {

class EditorModel;
class PlaybackEngine;

// The AUDIO workspace: the mixer (a strip per audio track with fader, pan,
// mute, solo and meter, and the master strip) and the selected clip's sound:
// gain, pan, fades, the ten-band EQ, noise gate and compressor; Mark Beats.
class AudioPage : public QWidget {
  Q_OBJECT
 public:
  AudioPage(EditorModel& editor, PlaybackEngine& program, QWidget* parent = nullptr);
  ~AudioPage() override;

 private:
  EditorModel& editor_;
  std::uint64_t subscription_ = 0;
};

}  // namespace brevelan
