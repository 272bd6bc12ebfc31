#include "picture/text_draw.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QPainter>
#include <QTextLayout>
#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
#include <optional>

#include "picture/gui_environment.h"

namespace brevelan {

void TextLine::draw(QPainter& painter, QPointF baseline, const QColor& paint) const {
  painter.setPen(paint);
  const QPointF origin(baseline.x(), baseline.y() - runsBaseline);
  for (const QGlyphRun& run : runs) painter.drawGlyphRun(origin, run);
}

namespace text_draw {
namespace {

// Font names are compared without case, spaces, hyphens or underscores, so that
// "DejaVuSans-Bold" and "DejaVu Sans Bold" both name family "DejaVu Sans", style "Bold".
QString squeezed(const QString& name) {
  QString out;
  out.reserve(name.size());
  for (const QChar c : name)
    if (c != u' ' && c != u'-' && c != u'_') out.append(c.toLower());
  return out;
}

// fontconfig lists duplicates as "Family [Foundry]".
QString withoutFoundry(const QString& family) {
  const auto bracket = family.indexOf(u" [");
  return bracket < 0 ? family : family.left(bracket);
}

std::optional<QFont> fontNamed(const QString& name) {
  const QString wanted = squeezed(name);
  if (wanted.isEmpty()) return std::nullopt;
  std::optional<QFont> best;
  qsizetype bestLength = -1;
  for (const QString& listed : QFontDatabase::families()) {
    const QString family = squeezed(withoutFoundry(listed));
    if (family.isEmpty() || family.size() <= bestLength || !wanted.startsWith(family)) continue;
    const QString rest = wanted.mid(family.size());
    if (rest.isEmpty()) {
      best = QFont(listed);
      bestLength = family.size();
      continue;
    }
    for (const QString& style : QFontDatabase::styles(listed)) {
      if (squeezed(style) != rest) continue;
      best = QFontDatabase::font(listed, style, 12);
      bestLength = family.size();
      break;
    }
  }
  return best;
}

QFont resolve(FontRole role, const QString& family) {
  const auto weight = role == FontRole::main ? QFont::Bold : QFont::Normal;
  if (!family.isEmpty()) {
    QFont asked(family);
    asked.setWeight(weight);
    asked.setStyle(QFont::StyleNormal);
    // fontconfig always substitutes something; only the same family counts.
    if (QFontInfo(asked).family().compare(family, Qt::CaseInsensitive) == 0) return asked;
    if (auto named = fontNamed(family)) return *named;
  }
  QFont system = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
  system.setWeight(weight);
  system.setStyle(QFont::StyleNormal);
  return system;
}

QFont cachedFace(FontRole role, const std::string& family) {
  ensureGuiEnvironment();
  // Also serialises every font-database query made here.
  static std::mutex lock;
  static std::map<std::pair<FontRole, std::string>, QFont> faces;
  std::lock_guard guard(lock);
  const auto key = std::pair(role, family);
  if (auto it = faces.find(key); it != faces.end()) return it->second;
  QFont face = resolve(role, QString::fromStdString(family));
  faces.emplace(key, face);
  return face;
}

// Reciprocal of the window in 8.24 fixed point, so each pass divides by a multiply.
struct BoxDivider {
  std::uint64_t inverse;
  explicit BoxDivider(int window) : inverse(((std::uint64_t{1} << 24) + window / 2) / window) {}
  std::uint8_t operator()(std::uint32_t sum) const {
    return static_cast<std::uint8_t>(std::min<std::uint64_t>((sum * inverse + (1u << 23)) >> 24, 255));
  }
};

void boxRows(const std::uint8_t* src, std::uint8_t* dst, int width, int height, std::ptrdiff_t stride, int r) {
  const BoxDivider divide(2 * r + 1);
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* in = src + y * stride;
    std::uint8_t* out = dst + y * stride;
    std::uint32_t sum = 0;
    for (int x = 0; x <= std::min(r, width - 1); ++x) sum += in[x];
    for (int x = 0; x < width; ++x) {
      out[x] = divide(sum);
      if (x + r + 1 < width) sum += in[x + r + 1];
      if (x - r >= 0) sum -= in[x - r];
    }
  }
}

void boxColumns(const std::uint8_t* src, std::uint8_t* dst, int width, int height, std::ptrdiff_t stride, int r,
                std::vector<std::uint32_t>& sums) {
  const BoxDivider divide(2 * r + 1);
  sums.assign(static_cast<std::size_t>(width), 0);
  for (int y = 0; y <= std::min(r, height - 1); ++y)
    for (int x = 0; x < width; ++x) sums[static_cast<std::size_t>(x)] += src[y * stride + x];
  for (int y = 0; y < height; ++y) {
    std::uint8_t* out = dst + y * stride;
    for (int x = 0; x < width; ++x) out[x] = divide(sums[static_cast<std::size_t>(x)]);
    if (y + r + 1 < height) {
      const std::uint8_t* add = src + (y + r + 1) * stride;
      for (int x = 0; x < width; ++x) sums[static_cast<std::size_t>(x)] += add[x];
    }
    if (y - r >= 0) {
      const std::uint8_t* drop = src + (y - r) * stride;
      for (int x = 0; x < width; ++x) sums[static_cast<std::size_t>(x)] -= drop[x];
    }
  }
}

}  // namespace

QFont font(FontRole role, const std::string& family, double pixelSize) {
  QFont f = cachedFace(role, family);
  const double size = std::isfinite(pixelSize) ? std::clamp(pixelSize, 1.0, 16384.0) : 1.0;
  f.setPixelSize(std::max(1, static_cast<int>(std::lround(size))));
  // Titles are scaled to every frame size; hinting would make them jump.
  f.setHintingPreference(QFont::PreferNoHinting);
  return f;
}

QString resolvedFamily(FontRole role, const std::string& family) {
  return QFontInfo(font(role, family, 32)).family();
}

TextLine line(const QString& text, const QFont& font, const QColor& color) {
  QString flat = text;
  for (QChar& c : flat)
    if (c == u'\n' || c == u'\r' || c == u'\t' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
      c = u' ';
  TextLine out;
  out.color = color;
  const QFontMetricsF metrics(font);
  out.ascent = metrics.ascent();
  out.descent = metrics.descent();

  QTextLayout layout(flat, font);
  QTextOption option;
  option.setWrapMode(QTextOption::NoWrap);
  layout.setTextOption(option);
  layout.beginLayout();
  QTextLine shaped = layout.createLine();
  if (shaped.isValid()) shaped.setPosition(QPointF(0, 0));
  layout.endLayout();
  if (shaped.isValid()) {
    out.width = shaped.horizontalAdvance();
    out.runsBaseline = shaped.ascent();
    out.runs = layout.glyphRuns();
  }
  return out;
}

std::vector<QString> wrap(const QString& text, const QFont& font, double maxWidth) {
  std::vector<QString> lines;
  if (text.isEmpty()) return lines;
  QTextOption option;
  option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  const double width = std::isfinite(maxWidth) ? std::max(maxWidth, 1.0) : 1e9;
  QString normal = text;
  normal.remove(u'\r');
  for (const QString& paragraph : normal.split(u'\n')) {
    if (paragraph.isEmpty()) {
      lines.emplace_back();
      continue;
    }
    QTextLayout layout(paragraph, font);
    layout.setTextOption(option);
    layout.beginLayout();
    for (QTextLine piece = layout.createLine(); piece.isValid(); piece = layout.createLine()) {
      piece.setLineWidth(width);
      QString part = paragraph.mid(piece.textStart(), piece.textLength());
      while (!part.isEmpty() && part.back().isSpace()) part.chop(1);
      lines.push_back(part);
    }
    layout.endLayout();
  }
  return lines;
}

void blurAlpha(std::uint8_t* plane, int width, int height, std::ptrdiff_t stride, int radius) {
  if (radius <= 0 || width <= 0 || height <= 0) return;
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height));
  std::vector<std::uint32_t> sums;
  std::uint8_t* a = plane;
  std::uint8_t* b = scratch.data();
  // Six passes in all: the result ends back in `plane`.
  for (int pass = 0; pass < 3; ++pass) {
    boxRows(a, b, width, height, stride, radius);
    boxColumns(b, a, width, height, stride, radius, sums);
  }
}

void drawShadow(QImage& target, std::span<const PlacedLine> lines, const TextShadow& shadow) {
  if (lines.empty() || target.isNull() || shadow.alpha <= 0) return;
  const int radius = std::max(0, static_cast<int>(std::lround(shadow.blur / 2)));
  QRectF bounds;
  for (const PlacedLine& placed : lines) {
    const TextLine& l = *placed.line;
    if (l.runs.isEmpty()) continue;
    // Glyph ink can overhang the advance box; half a line height covers it.
    const double overhang = l.height() * 0.5;
    bounds |= QRectF(placed.baseline.x() - overhang, placed.baseline.y() - l.ascent - overhang,
                     l.width + 2 * overhang, l.height() + 2 * overhang);
  }
  if (bounds.isEmpty()) return;
  const double reach = 3.0 * radius + 2;
  const QRect area = bounds.translated(shadow.offset).adjusted(-reach, -reach, reach, reach).toAlignedRect() &
                     target.rect();
  if (area.isEmpty()) return;

  QImage mask(area.size(), QImage::Format_Alpha8);
  mask.fill(0);
  {
    QPainter painter(&mask);
    painter.translate(shadow.offset - QPointF(area.topLeft()));
    for (const PlacedLine& placed : lines) {
      const QColor& c = placed.line->color;
      placed.line->draw(painter, placed.baseline, QColor(0, 0, 0, c.alpha()));
    }
  }
  blurAlpha(mask.bits(), mask.width(), mask.height(), mask.bytesPerLine(), radius);

  // Black over premultiplied pixels: every channel keeps (1 − a), alpha gains a.
  const int strength = std::clamp(static_cast<int>(std::lround(shadow.alpha * 255)), 0, 255);
  for (int y = 0; y < area.height(); ++y) {
    const std::uint8_t* m = mask.constScanLine(y);
    std::uint8_t* px = target.scanLine(area.top() + y) + static_cast<std::ptrdiff_t>(area.left()) * 4;
    for (int x = 0; x < area.width(); ++x, px += 4) {
      if (!m[x]) continue;
      const int a = (m[x] * strength + 127) / 255;
      const int keep = 255 - a;
      for (int c = 0; c < 3; ++c) px[c] = static_cast<std::uint8_t>((px[c] * keep + 127) / 255);
      px[3] = static_cast<std::uint8_t>(a + (px[3] * keep + 127) / 255);
    }
  }
}

QColor color(const RGBA& rgba) {
  const auto unit = [](double v) { return std::isfinite(v) ? std::clamp(v, 0.0, 1.0) : 0.0; };
  return QColor::fromRgbF(static_cast<float>(unit(rgba.r)), static_cast<float>(unit(rgba.g)),
                          static_cast<float>(unit(rgba.b)), static_cast<float>(unit(rgba.a)));
}

}  // namespace text_draw
}  // namespace brevelan
