#pragma once

#include <QColor>
#include <QWidget>

#include <optional>

#include "model/color_grade.h"

namespace brevelan {

// Edits one tone curve with the mouse: a click adds a point there and holds
// it, a point follows the pointer while dragged (never past its neighbours),
// and a point dragged out of the box or double-clicked goes away, as long as
// two remain. Every change is announced with `edited`.
class CurveEditor : public QWidget {
  Q_OBJECT
 public:
  explicit CurveEditor(QWidget* parent = nullptr);

  // Shows a curve without announcing it; ignored while a point is held.
  void setCurve(const ToneCurve& curve, QColor color);
  const ToneCurve& curve() const { return curve_; }

  // Widget position of a curve value and back.
  QPointF pointOf(CurvePoint value) const;
  CurvePoint valueOf(QPointF point) const;

  QSize sizeHint() const override { return {220, 220}; }
  QSize minimumSizeHint() const override { return {120, 120}; }
  bool hasHeightForWidth() const override { return true; }
  int heightForWidth(int width) const override { return width; }

 Q_SIGNALS:
  void edited();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;

 private:
  QRectF box() const;
  std::optional<std::size_t> pointNear(QPointF pos) const;
  void removePoint(std::size_t index);

  ToneCurve curve_;
  QColor color_ = Qt::white;
  std::optional<std::size_t> held_;
};

}  // namespace brevelan
