#include "app/playback/frame_view.h"

#include <QPaintEvent>
#include <QPainter>

namespace brevelan {

FrameView::FrameView(QWidget* parent) : QWidget(parent) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMinimumSize(160, 90);
}

void FrameView::setPicture(QImage picture) {
  picture_ = std::move(picture);
  update();
}

void FrameView::setPlaceholder(QString text) {
  placeholder_ = std::move(text);
  update();
}

void FrameView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), Qt::black);
  if (picture_.isNull()) {
    painter.setPen(QColor(120, 120, 128));
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, placeholder_);
    return;
  }
  // Letterbox: the whole picture, as large as fits, centred.
  QSizeF size = picture_.size();
  size.scale(QSizeF(width(), height()), Qt::KeepAspectRatio);
  const QRectF target((width() - size.width()) / 2, (height() - size.height()) / 2, size.width(), size.height());
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.drawImage(target, picture_);
}

}  // namespace brevelan
