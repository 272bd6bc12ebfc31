#pragma once

#include <QPointF>
#include <QStringList>
#include <QWidget>

#include <vector>

namespace brevelan::kit {

// A magnitude curve over frequency — an EQ's response, a spectrum — on a
// logarithmic frequency axis with a dB grid. Points are (Hz, dB) in rising
// frequency; optional band marks draw a labelled line each.
class FrequencyView : public QWidget {
  Q_OBJECT
 public:
  explicit FrequencyView(QWidget* parent = nullptr);

  void setCurve(std::vector<QPointF> points);
  const std::vector<QPointF>& curve() const { return curve_; }
  void setBands(std::vector<double> frequencies, QStringList labels);
  void setRange(double lowHz, double highHz, double lowDB, double highDB);
  // A switched-off curve is drawn dimmed.
  void setActive(bool active);
  bool active() const { return active_; }

  // Where a frequency and a level fall inside `plot`.
  double xOfFrequency(double hz, const QRectF& plot) const;
  double yOfDB(double dB, const QRectF& plot) const;

  QSize sizeHint() const override { return {520, 160}; }
  QSize minimumSizeHint() const override { return {200, 90}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QRectF plotRect() const;

  std::vector<QPointF> curve_;
  std::vector<double> bands_;
  QStringList bandLabels_;
  double lowHz_ = 20;
  double highHz_ = 20000;
  double lowDB_ = -15;
  double highDB_ = 15;
  bool active_ = true;
};

}  // namespace brevelan::kit
