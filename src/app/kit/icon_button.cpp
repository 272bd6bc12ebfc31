#include "app/kit/icon_button.h"

#include <QPainter>

#include <algorithm>

#include "app/kit/kit_palette.h"

namespace brevelan::kit {
namespace {

QColor litColour(IconButton::Glyph glyph) {
  switch (glyph) {
    case IconButton::Glyph::mute: return kMuteOn;
    case IconButton::Glyph::solo: return kSoloOn;
    case IconButton::Glyph::record: return kRecordOn;
    case IconButton::Glyph::power: return kAccent;
  }
  return kAccent;
}

QString glyphName(IconButton::Glyph glyph) {
  switch (glyph) {
    case IconButton::Glyph::mute: return "Mute";
    case IconButton::Glyph::solo: return "Solo";
    case IconButton::Glyph::record: return "Record";
    case IconButton::Glyph::power: return "On";
  }
  return {};
}

}  // namespace

IconButton::IconButton(Glyph glyph, QWidget* parent) : QAbstractButton(parent), glyph_(glyph) {
  setCheckable(true);
  setFocusPolicy(Qt::StrongFocus);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  setToolTip(glyphName(glyph));
  setAccessibleName(glyphName(glyph));
}

void IconButton::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  const double size = std::min(width(), height()) - 1.0;
  const QRectF circle((width() - size) / 2, (height() - size) / 2, size, size);
  const bool on = isChecked();
  const QColor lit = isEnabled() ? litColour(glyph_) : kTrack;

  QColor face = on ? lit : QColor(50, 50, 55);
  if (isDown()) face = face.darker(130);
  p.setPen(QPen(hasFocus() ? kAccent : QColor(14, 14, 16), 1));
  p.setBrush(face);
  p.drawEllipse(circle);

  const QColor ink = on ? QColor(20, 20, 22) : (glyph_ == Glyph::record && isEnabled() ? lit : kDimText);
  switch (glyph_) {
    case Glyph::mute:
    case Glyph::solo: {
      QFont bold = font();
      bold.setBold(true);
      bold.setPixelSize(std::max(8, static_cast<int>(size * 0.5)));
      p.setFont(bold);
      p.setPen(ink);
      p.drawText(circle, Qt::AlignCenter, glyph_ == Glyph::mute ? "M" : "S");
      break;
    }
    case Glyph::record: {
      const double r = size * 0.22;
      p.setPen(Qt::NoPen);
      p.setBrush(on ? QColor(255, 235, 235) : ink);
      p.drawEllipse(circle.center(), r, r);
      break;
    }
    case Glyph::power: {
      const double r = size * 0.24;
      const QRectF ring(circle.center().x() - r, circle.center().y() - r + 1, 2 * r, 2 * r);
      p.setPen(QPen(on ? QColor(240, 244, 255) : ink, 1.6, Qt::SolidLine, Qt::RoundCap));
      p.setBrush(Qt::NoBrush);
      p.drawArc(ring, 120 * 16, 300 * 16);
      p.drawLine(QPointF(ring.center().x(), ring.top() - 2), QPointF(ring.center().x(), ring.center().y()));
      break;
    }
  }
}

}  // namespace brevelan::kit
