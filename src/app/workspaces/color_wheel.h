#pragma once

#include <QImage>
#include <QPointF>
#include <QWidget>

namespace brevelan {

// A lift / gamma / gain wheel: a hue disc with a puck. The puck sits at
// (x, y) with y up and radius 1 at the rim; the hue under it is the tint the
// grade adds (red at 0°, green at 120°, blue at 240°). Pressing the disc puts
// the puck there and dragging moves it; double-click asks for a reset.
class ColorWheelView : public QWidget {
  Q_OBJECT
 public:
  explicit ColorWheelView(QWidget* parent = nullptr);

  // Shows a position without announcing it.
  void setPuck(double x, double y);
  QPointF puck() const { return puck_; }
  // Where a puck position is drawn, in the widget's coordinates.
  QPointF pointOfPuck(QPointF puck) const;

  QSize sizeHint() const override { return {150, 150}; }
  QSize minimumSizeHint() const override { return {90, 90}; }
  bool hasHeightForWidth() const override { return true; }
  int heightForWidth(int width) const override { return width; }

 Q_SIGNALS:
  void puckMoved(double x, double y);
  void resetRequested();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;

 private:
  double radius() const;
  QPointF puckOfPoint(QPointF point) const;
  void moveTo(QPointF point);

  QPointF puck_;
  QPointF grabOffset_;
  bool dragging_ = false;
  QImage disc_;  // the hue disc at the current size
};

}  // namespace brevelan
