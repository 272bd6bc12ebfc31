#pragma once

#include <QLabel>
#include <QPushButton>
#include <QWidget>

#include <cstdint>
#include <optional>

#include "app/playback/frame_view.h"
#include "model/frame_rate.h"

namespace brevelan {

// A viewer: its title, the picture, a transport row and the position as
// timecode with the In and Out marks. The buttons only ask; the window decides.
class ViewerPanel : public QWidget {
  Q_OBJECT
 public:
  ViewerPanel(const QString& title, QWidget* parent = nullptr);

  FrameView& view() { return *view_; }
  void setPosition(std::int64_t frame, std::int64_t duration, const FrameRate& rate);
  void setMarks(std::optional<std::int64_t> in, std::optional<std::int64_t> out, const FrameRate& rate);
  void setPlaying(bool playing);
  void setActive(bool active);

 Q_SIGNALS:
  void playPressed();
  void stepPressed(int frames);
  void jumpPressed(bool toEnd);
  void markInPressed();
  void markOutPressed();
  void focused();

 protected:
  void mousePressEvent(QMouseEvent* event) override;

 private:
  QLabel* title_;
  FrameView* view_;
  QLabel* timecode_;
  QLabel* marks_;
  QPushButton* play_;
};

}  // namespace brevelan
