#include "picture/title_renderer.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <new>
#include <optional>
#include <vector>

#include "picture/gui_environment.h"
#include "picture/text_draw.h"

namespace brevelan {
namespace {

// Layout below works in top-down pixels; positions given from the bottom edge
// are turned over with `fromBottom`.
double fromBottom(double canvasHeight, double y) { return canvasHeight - y; }

// Qt's rasteriser works in 16.16 fixed point, so no side may reach 32768.
constexpr int kMaxSide = 32767;

struct Canvas {
  std::unique_ptr<Picture> picture;
  QImage image;  // paints straight into picture's pixels
};

std::optional<Canvas> makeCanvas(int width, int height) {
  if (width <= 0 || height <= 0 || width > kMaxSide || height > kMaxSide) return std::nullopt;
  if (static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) * 4 > INT_MAX) return std::nullopt;
  Canvas canvas;
  try {
    canvas.picture = std::make_unique<Picture>(width, height, PixelOrder::rgba);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
  std::memset(canvas.picture->pixels.get(), 0, canvas.picture->bytes());
  canvas.image = QImage(canvas.picture->pixels.get(), width, height, static_cast<qsizetype>(canvas.picture->stride()),
                        QImage::Format_RGBA8888_Premultiplied);
  return canvas;
}

std::shared_ptr<const Picture> finished(Canvas& canvas) {
  canvas.image = QImage();
  return std::shared_ptr<const Picture>(std::move(canvas.picture));
}

void prepare(QPainter& painter) {
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::TextAntialiasing);
}

void drawLines(QImage& image, const std::vector<PlacedLine>& lines, const std::optional<TextShadow>& shadow) {
  if (shadow) text_draw::drawShadow(image, lines, *shadow);
  QPainter painter(&image);
  prepare(painter);
  for (const PlacedLine& placed : lines) placed.line->draw(painter, placed.baseline);
}

QString qText(const std::string& text) { return QString::fromStdString(text); }

std::vector<TextLine> wrappedLines(const QString& text, const QFont& font, const QColor& color, double maxWidth) {
  std::vector<TextLine> lines;
  for (const QString& piece : text_draw::wrap(text, font, maxWidth))
    lines.push_back(text_draw::line(piece, font, color));
  return lines;
}

// The title's own shadow: black 0.75, 3k down, blur 8k.
std::optional<TextShadow> titleShadow(const TitleSpec& title, double k) {
  if (!title.shadow) return std::nullopt;
  return TextShadow{0.75, QPointF(0, 3 * k), 8 * k};
}

std::shared_ptr<const Picture> drawLowerThird(const TitleSpec& title, int width, int height) {
  auto canvas = makeCanvas(width, height);
  if (!canvas) return nullptr;
  const double W = width, H = height, k = H / 1080;
  const QColor color = text_draw::color(title.color);
  const TextLine first =
      text_draw::line(qText(title.text), text_draw::font(FontRole::main, title.fontName, title.size * k), color);
  std::optional<TextLine> second;
  if (!title.subtitle.empty())
    second = text_draw::line(qText(title.subtitle),
                             text_draw::font(FontRole::second, title.fontName, title.size * k * 0.5), color);

  const double textWidth = std::max(first.width, second ? second->width : 0.0);
  const double textHeight = first.height() + (second ? 6 * k + second->height() : 0.0);
  const double boxHeight = 28 * k + textHeight;
  const double x0 = W * 0.06, y0 = H * 0.11;
  const double boxTop = fromBottom(H, y0 + boxHeight);

  if (title.showBar) {
    QPainter painter(&canvas->image);
    prepare(painter);
    painter.setPen(Qt::NoPen);
    painter.setBrush(text_draw::color(title.barColor));
    painter.drawRoundedRect(QRectF(x0, boxTop, 48 * k + textWidth, boxHeight), 14 * k, 14 * k);
    painter.fillRect(QRectF(x0, boxTop, 6 * k, boxHeight), QColor::fromRgbF(1, 1, 1, 0.9f));
  }
  // 14k of padding above line 1's ascent; line 2 sits 6k below line 1's descent.
  const double baseline1 = boxTop + 14 * k + first.ascent;
  const double x = x0 + 24 * k;
  std::vector<PlacedLine> placed{{&first, QPointF(x, baseline1)}};
  if (second) placed.push_back({&*second, QPointF(x, baseline1 + first.descent + 6 * k + second->ascent)});
  drawLines(canvas->image, placed, titleShadow(title, k));
  return finished(*canvas);
}

std::shared_ptr<const Picture> drawCentred(const TitleSpec& title, int width, int height) {
  auto canvas = makeCanvas(width, height);
  if (!canvas) return nullptr;
  const double W = width, H = height, k = H / 1080;
  const QColor color = text_draw::color(title.color);
  const QFont mainFont = text_draw::font(FontRole::main, title.fontName, title.size * k);
  const QFont secondFont = text_draw::font(FontRole::second, title.fontName, title.size * k * 0.5);
  const std::vector<TextLine> mains = wrappedLines(qText(title.text), mainFont, color, W * 0.86);
  const std::vector<TextLine> seconds = wrappedLines(qText(title.subtitle), secondFont, color, W * 0.86);

  const QFontMetricsF mainMetrics(mainFont), secondMetrics(secondFont);
  const double mainStep = (mainMetrics.ascent() + mainMetrics.descent()) * 1.08;
  const double secondStep = (secondMetrics.ascent() + secondMetrics.descent()) * 1.15;
  const double gap = seconds.empty() ? 0.0 : 12 * k;
  const double block = mainStep * static_cast<double>(mains.size()) +
                       secondStep * static_cast<double>(seconds.size()) + gap;

  // The block's top edge, then each line's baseline one ascent below its slot's top.
  double top = fromBottom(H, (block + H) * 0.5);
  std::vector<PlacedLine> placed;
  for (const TextLine& l : mains) {
    placed.push_back({&l, QPointF((W - l.width) * 0.5, top + mainMetrics.ascent())});
    top += mainStep;
  }
  top += gap;
  for (const TextLine& l : seconds) {
    placed.push_back({&l, QPointF((W - l.width) * 0.5, top + secondMetrics.ascent())});
    top += secondStep;
  }
  drawLines(canvas->image, placed, titleShadow(title, k));
  return finished(*canvas);
}

std::shared_ptr<const Picture> drawCredits(const TitleSpec& title, int width) {
  if (width <= 0) return nullptr;
  const double W = width, k = W / 1920;
  const QColor color = text_draw::color(title.color);
  const QFont headFont = text_draw::font(FontRole::main, title.fontName, title.size * 0.6 * k);
  const QFont lineFont = text_draw::font(FontRole::second, title.fontName, title.size * 0.42 * k);

  // Blocks are separated by blank lines; each block's first line is its head
  // (the first block's head is the heading). A blank line keeps its height.
  QString text = qText(title.text);
  text.remove(u'\r');
  struct Row {
    std::optional<TextLine> line;
    double advance;
  };
  std::vector<Row> rows;
  bool blockStart = true;
  double sheet = 40 * k;
  for (const QString& source : text.split(u'\n')) {
    const bool blank = source.trimmed().isEmpty();
    const QFont& font = blank || !blockStart ? lineFont : headFont;
    const QFontMetricsF metrics(font);
    Row row{std::nullopt, (metrics.ascent() + metrics.descent()) * 1.25};
    if (!blank) row.line = text_draw::line(source.trimmed(), font, color);
    blockStart = blank;
    sheet += row.advance;
    rows.push_back(std::move(row));
  }

  auto canvas = makeCanvas(width, static_cast<int>(std::min(std::ceil(sheet), double{INT_MAX})));
  if (!canvas) return nullptr;
  std::vector<PlacedLine> placed;
  double top = 20 * k;
  for (const Row& row : rows) {
    if (row.line) placed.push_back({&*row.line, QPointF((W - row.line->width) * 0.5, top + row.line->ascent)});
    top += row.advance;
  }
  drawLines(canvas->image, placed, TextShadow{0.7, QPointF(0, 2 * k), 6 * k});
  return finished(*canvas);
}

std::shared_ptr<const Picture> drawCaption(const std::string& text, const CaptionStyle& style, int width,
                                           int height) {
  const QString content = qText(text);
  if (content.trimmed().isEmpty()) return nullptr;
  auto canvas = makeCanvas(width, height);
  if (!canvas) return nullptr;
  const double W = width, H = height, k = H / 1080;
  const QFont font = text_draw::font(FontRole::main, style.fontName, style.size * k);
  const std::vector<TextLine> lines = wrappedLines(content, font, Qt::white, W * 0.8);
  const QFontMetricsF metrics(font);
  const double ascent = metrics.ascent(), descent = metrics.descent();
  const double step = (ascent + descent) * 1.12;

  // The last baseline sits on the margin, earlier lines one step higher each.
  const double lastBaseline = fromBottom(H, H * style.bottomMargin);
  std::vector<PlacedLine> placed;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const double baseline = lastBaseline - step * static_cast<double>(lines.size() - 1 - i);
    placed.push_back({&lines[i], QPointF((W - lines[i].width) * 0.5, baseline)});
  }

  if (style.box) {
    // One path for all boxes: where neighbouring boxes overlap they are not darker.
    QPainterPath boxes;
    boxes.setFillRule(Qt::WindingFill);
    const double boxHeight = 4 * k + step;
    for (const PlacedLine& p : placed) {
      if (p.line->runs.isEmpty()) continue;
      const double middle = p.baseline.y() - (ascent - descent) * 0.5;
      boxes.addRoundedRect(QRectF(p.baseline.x() - 14 * k, middle - boxHeight * 0.5, p.line->width + 28 * k, boxHeight),
                           8 * k, 8 * k);
    }
    QPainter painter(&canvas->image);
    prepare(painter);
    painter.fillPath(boxes, QColor::fromRgbF(0, 0, 0, 0.72f));
  }
  const std::optional<TextShadow> shadow =
      style.box ? std::nullopt : std::optional<TextShadow>(TextShadow{0.9, QPointF(0, 2), 5 * k});
  drawLines(canvas->image, placed, shadow);
  return finished(*canvas);
}

// The canvas-size window of a taller sheet whose top edge is at canvas row `top`.
std::shared_ptr<const Picture> window(const Picture& sheet, int height, int top) {
  auto canvas = makeCanvas(sheet.width, height);
  if (!canvas) return nullptr;
  Picture& out = *canvas->picture;
  for (int y = std::max(0, top); y < std::min(height, top + sheet.height); ++y)
    std::memcpy(out.row(y), sheet.row(y - top), out.stride());
  return finished(*canvas);
}

std::shared_ptr<const Picture> faded(const Picture& source, double factor) {
  auto canvas = makeCanvas(source.width, source.height);
  if (!canvas) return nullptr;
  // Premultiplied: scaling every channel alike scales the layer's opacity.
  const auto scale = static_cast<std::uint32_t>(std::lround(std::clamp(factor, 0.0, 1.0) * 256));
  const std::uint8_t* in = source.pixels.get();
  std::uint8_t* out = canvas->picture->pixels.get();
  for (std::size_t i = 0, n = source.bytes(); i < n; ++i) out[i] = static_cast<std::uint8_t>((in[i] * scale) >> 8);
  return finished(*canvas);
}

}  // namespace

TitleRenderer& TitleRenderer::shared() {
  static TitleRenderer renderer;
  return renderer;
}

std::shared_ptr<const Picture> TitleRenderer::cached(const Key& key,
                                                     const std::function<std::shared_ptr<const Picture>()>& make) {
  {
    std::lock_guard guard(lock_);
    for (const Entry& entry : cache_)
      if (entry.key == key) return entry.picture;
  }
  ensureGuiEnvironment();
  // Laid out without the lock so other titles are not held up; when two
  // threads race on the same key the first one stored wins.
  std::shared_ptr<const Picture> picture = make();
  if (!picture) return nullptr;
  std::lock_guard guard(lock_);
  for (const Entry& entry : cache_)
    if (entry.key == key) return entry.picture;
  cache_.push_back({key, picture});
  cacheBytes_ += picture->bytes();
  while (cache_.size() > 1 && (cache_.size() > kMaxEntries || cacheBytes_ > kMaxBytes)) {
    cacheBytes_ -= cache_.front().picture->bytes();
    cache_.pop_front();
  }
  return picture;
}

std::shared_ptr<const Picture> TitleRenderer::still(const TitleSpec& title, int width, int height) {
  if (width <= 0 || height <= 0) return nullptr;
  Key key{Kind::still, title, {}, {}, width, height};
  key.title.fadeFrames = 0;  // the fade is applied per frame, not stored
  return cached(key, [&]() -> std::shared_ptr<const Picture> {
    switch (title.style) {
      case TitleStyle::lowerThird: return drawLowerThird(title, width, height);
      case TitleStyle::centered: return drawCentred(title, width, height);
      case TitleStyle::credits: break;
    }
    const auto sheet = credits(title, width);
    return sheet ? window(*sheet, height, 0) : nullptr;
  });
}

std::shared_ptr<const Picture> TitleRenderer::credits(const TitleSpec& title, int width) {
  if (width <= 0) return nullptr;
  Key key{Kind::credits, title, {}, {}, width, 0};
  key.title.fadeFrames = 0;
  return cached(key, [&] { return drawCredits(title, width); });
}

std::shared_ptr<const Picture> TitleRenderer::caption(const std::string& text, const CaptionStyle& style,
                                                      int canvasWidth, int canvasHeight) {
  if (canvasWidth <= 0 || canvasHeight <= 0 || text.empty()) return nullptr;
  CaptionStyle look = style;
  look.burnIn = false;  // whether to burn in is the caller's choice, not part of the picture
  return cached(Key{Kind::caption, {}, text, look, canvasWidth, canvasHeight},
                [&] { return drawCaption(text, style, canvasWidth, canvasHeight); });
}

std::shared_ptr<const Picture> TitleRenderer::image(const TitleSpec& title, int canvasWidth, int canvasHeight,
                                                    std::int64_t frame, std::int64_t duration) {
  if (canvasWidth <= 0 || canvasHeight <= 0) return nullptr;
  duration = std::max<std::int64_t>(duration, 1);
  frame = std::clamp<std::int64_t>(frame, 0, duration - 1);
  std::shared_ptr<const Picture> layer;
  if (title.style == TitleStyle::credits) {
    const auto sheet = credits(title, canvasWidth);
    if (!sheet) return nullptr;
    layer = window(*sheet, canvasHeight, rollTop(canvasHeight, sheet->height, frame, duration));
  } else {
    layer = still(title, canvasWidth, canvasHeight);
  }
  const double opacity = fadeFactor(title.fadeFrames, frame, duration);
  if (!layer || opacity >= 1) return layer;
  return faded(*layer, opacity);
}

double TitleRenderer::fadeFactor(std::int64_t fadeFrames, std::int64_t frame, std::int64_t duration) {
  if (fadeFrames <= 0) return 1;
  const double span = static_cast<double>(fadeFrames) + 1;
  const double in = static_cast<double>(frame + 1) / span;
  const double out = static_cast<double>(duration - frame) / span;
  return std::clamp(std::min(in, out), 0.0, 1.0);
}

int TitleRenderer::rollTop(int canvasHeight, int sheetHeight, std::int64_t frame, std::int64_t duration) {
  // Frame 0 is already one step in; after the last frame the sheet's bottom
  // edge has reached the canvas top.
  duration = std::max<std::int64_t>(duration, 1);
  const double progress = static_cast<double>(std::clamp<std::int64_t>(frame, 0, duration - 1) + 1) /
                          static_cast<double>(duration);
  const double travel = static_cast<double>(canvasHeight) + static_cast<double>(sheetHeight);
  return canvasHeight - static_cast<int>(std::lround(progress * travel));
}

std::size_t TitleRenderer::cachedPictures() const {
  std::lock_guard guard(lock_);
  return cache_.size();
}

}  // namespace brevelan
