#pragma once

#include <QWidget>

#include <memory>

#include "picture/scope_data.h"

class QPainter;

namespace brevelan {

// Draws one scope from its counts into `area`: the waveform on a 0–100 scale,
// the vectorscope with its 75 % colour targets and the skin-tone line, the
// histogram's red, green, blue and luma. Null data draws the empty graticule.
void drawScope(QPainter& painter, const QRectF& area, ScopeKind kind, const ScopeData* data);

// One scope panel, titled with the scope's name, drawing the counts it is given.
class ScopeView : public QWidget {
  Q_OBJECT
 public:
  explicit ScopeView(ScopeKind kind, QWidget* parent = nullptr);

  ScopeKind kind() const { return kind_; }
  void setData(std::shared_ptr<const ScopeData> data);
  const std::shared_ptr<const ScopeData>& data() const { return data_; }

  QSize sizeHint() const override { return {320, 200}; }
  QSize minimumSizeHint() const override { return {160, 110}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  ScopeKind kind_;
  std::shared_ptr<const ScopeData> data_;
};

}  // namespace brevelan
