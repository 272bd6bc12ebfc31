#pragma once

#include <QImage>
#include <QString>
#include <QWidget>

namespace brevelan {

// A viewer's picture: the latest frame letterboxed on black, or a quiet
// placeholder text when there is nothing to show.
class FrameView : public QWidget {
  Q_OBJECT
 public:
  explicit FrameView(QWidget* parent = nullptr);

  void setPicture(QImage picture);
  void setPlaceholder(QString text);
  const QImage& picture() const { return picture_; }
  QSize sizeHint() const override { return {480, 270}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QImage picture_;
  QString placeholder_;
};

}  // namespace brevelan
