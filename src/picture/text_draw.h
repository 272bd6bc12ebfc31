#pragma once

#include <QColor>
#include <QFont>
#include <QGlyphRun>
#include <QImage>
#include <QList>
#include <QPointF>
#include <QString>
#include <span>
#include <string>
#include <vector>

#include "model/rgba.h"

class QPainter;

namespace brevelan {

// main: title text, credit block heads, captions (bold).
// second: subtitle line and credit lines (regular).
enum class FontRole { main, second };

// One line of text shaped once (with Qt's font fallback for missing glyphs)
// and drawn as often as needed. Positions are top-down pixels.
struct TextLine {
  QList<QGlyphRun> runs;
  QColor color;
  double width = 0;    // advance width
  double ascent = 0;   // of the line's font, above the baseline
  double descent = 0;  // of the line's font, below the baseline, positive
  double runsBaseline = 0;  // where the runs' own baseline lies below their origin

  double height() const { return ascent + descent; }
  void draw(QPainter& painter, QPointF baseline) const { draw(painter, baseline, color); }
  void draw(QPainter& painter, QPointF baseline, const QColor& paint) const;
};

// A line and where its baseline starts.
struct PlacedLine {
  const TextLine* line = nullptr;
  QPointF baseline;
};

// A soft drop shadow: black at `alpha`, moved by `offset` (top-down pixels),
// blurred like a Gaussian of σ = blur / 2.
struct TextShadow {
  double alpha = 0.75;
  QPointF offset;
  double blur = 0;
};

namespace text_draw {

// The font for a role at a size in pixels (rounded to whole pixels, at least 1:
// Qt's font engines render whole pixel sizes). Lookup order: the family itself
// (bold for main, regular for second); a font whose full or PostScript name is
// `family` ("DejaVu Sans Bold", "DejaVuSans-Bold"), as that face is; the
// system's general font, bold for main. Family lookups are cached.
QFont font(FontRole role, const std::string& family, double pixelSize);

// The family a font name resolves to for a role (what `font` would use).
QString resolvedFamily(FontRole role, const std::string& family);

// One line; line breaks and tabs in the text become spaces.
TextLine line(const QString& text, const QFont& font, const QColor& color);

// The text broken at word boundaries (inside a word only when the word alone is
// wider) into lines no wider than maxWidth; each '\n' starts a new line.
// Trailing spaces are dropped. An empty text gives no lines.
std::vector<QString> wrap(const QString& text, const QFont& font, double maxWidth);

// Composites the blurred shadow of the lines into `target`
// (Format_RGBA8888_Premultiplied), under whatever is drawn afterwards. The
// shadow's strength follows each line's own alpha.
void drawShadow(QImage& target, std::span<const PlacedLine> lines, const TextShadow& shadow);

// Three box passes of radius r in each direction on an 8-bit plane (outside is
// zero): close to a Gaussian of σ ≈ r.
void blurAlpha(std::uint8_t* plane, int width, int height, std::ptrdiff_t stride, int radius);

QColor color(const RGBA& rgba);

}  // namespace text_draw
}  // namespace brevelan
