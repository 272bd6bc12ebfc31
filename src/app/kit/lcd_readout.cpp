#include "app/kit/lcd_readout.h"

#include <QFontDatabase>
#include <QPainter>

#include "app/kit/kit_palette.h"

namespace brevelan::kit {

LcdReadout::LcdReadout(QWidget* parent) : QWidget(parent) {
  QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  mono.setStyleHint(QFont::Monospace);
  mono.setPointSizeF(font().pointSizeF());
  setFont(mono);
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

LcdReadout::LcdReadout(const QString& text, int widthChars, QWidget* parent) : LcdReadout(parent) {
  widthChars_ = widthChars;
  setText(text);
}

void LcdReadout::setText(const QString& text) {
  if (text == text_) return;
  text_ = text;
  setAccessibleName(text);
  update();
}

void LcdReadout::setWidthChars(int chars) {
  widthChars_ = chars;
  updateGeometry();
}

void LcdReadout::setAlignment(Qt::Alignment alignment) {
  alignment_ = alignment;
  update();
}

QSize LcdReadout::sizeHint() const {
  const QFontMetrics metrics(font());
  return {metrics.horizontalAdvance(QString(widthChars_, '0')) + 12, metrics.height() + 8};
}

void LcdReadout::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  const QRectF well = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
  p.setPen(QPen(QColor(10, 10, 12), 1));
  p.setBrush(kWell);
  p.drawRoundedRect(well, 3, 3);
  // A faint top shadow makes the well read as sunken.
  p.setPen(QPen(QColor(0, 0, 0, 90), 1));
  p.drawLine(QPointF(well.left() + 3, well.top() + 1.5), QPointF(well.right() - 3, well.top() + 1.5));
  p.setPen(isEnabled() ? kLcdText : kDimText);
  p.drawText(rect().adjusted(6, 0, -6, 0), static_cast<int>(alignment_ | Qt::AlignVCenter), text_);
}

}  // namespace brevelan::kit
