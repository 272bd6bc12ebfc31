#pragma once

#include <QWidget>

namespace brevelan {

// The microphone's level while a voice-over records: a slim horizontal bar
// in dBFS from −60 to 0: green, yellow from −18 dB, red in the last 6 dB
// before the input clips.
class VoiceOverMeter : public QWidget {
  Q_OBJECT
 public:
  explicit VoiceOverMeter(QWidget* parent = nullptr);

  // A linear peak (1 = full scale).
  void setLevel(float level);
  float level() const { return level_; }

  QSize sizeHint() const override { return {120, 10}; }
  QSize minimumSizeHint() const override { return {60, 8}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  float level_ = 0;
};

}  // namespace brevelan
