#pragma once

#include <QTimer>
#include <QWidget>

#include <array>
#include <functional>

namespace brevelan::kit {

// A vertical stereo level meter in dBFS from −60 to +6: green below −18,
// yellow up to 0, red above. Each channel keeps its peak for kHoldSeconds,
// after which the mark falls back at kFallDBPerSecond to the current level.
class LevelMeter : public QWidget {
  Q_OBJECT
 public:
  static constexpr double kMinDB = -60;
  static constexpr double kMaxDB = 6;
  static constexpr double kYellowDB = -18;
  static constexpr double kRedDB = 0;
  static constexpr double kHoldSeconds = 1.5;
  static constexpr double kFallDBPerSecond = 20;

  explicit LevelMeter(QWidget* parent = nullptr);

  // Linear amplitudes (1 = 0 dBFS).
  void setLevels(float left, float right);
  // Current level and peak-hold mark of channel 0 (left) or 1 (right), in dB;
  // silence reads as −infinity.
  double levelDB(int channel) const;
  double peakDB(int channel) const;
  // Seconds on a clock that never goes back; a test may replace it.
  void setClock(std::function<double()> clock) { clock_ = std::move(clock); }

  static double dbOfAmplitude(double amplitude);

  QSize sizeHint() const override { return {18, 200}; }
  QSize minimumSizeHint() const override { return {12, 60}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  double now() const { return clock_(); }
  bool falling() const;

  std::array<double, 2> level_;
  std::array<double, 2> peak_;
  std::array<double, 2> peakTime_{};
  std::function<double()> clock_;
  QTimer fall_;
};

}  // namespace brevelan::kit
