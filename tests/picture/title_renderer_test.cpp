#include "picture/title_renderer.h"

#include <gtest/gtest.h>

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <thread>

#include "picture/gui_environment.h"
#include "picture/text_draw.h"

namespace brevelan {
namespace {

// Qt must be set up on the main thread before any test draws text.
class GuiEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { ensureGuiEnvironment(); }
};
[[maybe_unused]] ::testing::Environment* const guiEnvironment =
    ::testing::AddGlobalTestEnvironment(new GuiEnvironment);

int alpha(const Picture& p, int x, int y) { return p.at(x, y)[3]; }
bool whiteText(const Picture& p, int x, int y) { return p.at(x, y)[0] > 200 && p.at(x, y)[3] > 200; }

// First and last rows (or columns) in [from, to) for which `hit` holds; {-1, -1} when none.
std::pair<int, int> extent(int from, int to, const std::function<bool(int)>& hit) {
  std::pair<int, int> out{-1, -1};
  for (int i = from; i < to; ++i)
    if (hit(i)) {
      if (out.first < 0) out.first = i;
      out.second = i;
    }
  return out;
}

bool anyInk(const Picture& p) {
  for (std::size_t i = 3; i < p.bytes(); i += 4)
    if (p.pixels[i]) return true;
  return false;
}

double lineHeight(FontRole role, const std::string& family, double pixels) {
  const QFontMetricsF m(text_draw::font(role, family, pixels));
  return m.ascent() + m.descent();
}

TitleSpec lowerThird(std::string subtitle) {
  TitleSpec t;
  t.text = "HEH";
  t.subtitle = std::move(subtitle);
  t.size = 64;
  return t;
}

TEST(TitleRendererLowerThird, BarStripeAndBaselinesScaleWithTheCanvas) {
  struct Case {
    std::string subtitle;
    int width, height;
  };
  for (const Case& c : {Case{"", 1920, 1080}, Case{"Director", 1920, 1080}, Case{"", 960, 540}}) {
    SCOPED_TRACE(c.subtitle + " " + std::to_string(c.height));
    const TitleSpec title = lowerThird(c.subtitle);
    const auto pic = TitleRenderer().still(title, c.width, c.height);
    ASSERT_TRUE(pic);
    ASSERT_EQ(pic->width, c.width);
    ASSERT_EQ(pic->height, c.height);
    const double k = c.height / 1080.0;
    const QFontMetricsF main(text_draw::font(FontRole::main, title.fontName, 64 * k));
    EXPECT_NEAR(main.ascent() + main.descent(), lineHeight(FontRole::main, title.fontName, 64) * k, 0.5);
    double h = 28 * k + main.ascent() + main.descent();
    if (!c.subtitle.empty()) h += 6 * k + lineHeight(FontRole::second, title.fontName, 32 * k);
    const double boxBottom = c.height - c.height * 0.11;

    // The stripe: a square-cornered, near-white column the full box height.
    const int stripeX = static_cast<int>(c.width * 0.06 + 3 * k);
    const auto stripe = extent(0, c.height, [&](int y) { return alpha(*pic, stripeX, y) > 127; });
    EXPECT_NEAR(stripe.second - stripe.first + 1, h, 1.0);
    EXPECT_NEAR(stripe.second + 1, boxBottom, 1.0);
    EXPECT_GT(pic->at(stripeX, (stripe.first + stripe.second) / 2)[0], 215);

    // The bar starts at 6 % of the width, in the bar colour.
    const int middle = static_cast<int>(boxBottom - h * 0.5);
    const auto bar = extent(0, c.width, [&](int x) { return alpha(*pic, x, middle) > 127; });
    EXPECT_NEAR(bar.first, c.width * 0.06, 1.0);
    const std::uint8_t* inside = pic->at(bar.second - static_cast<int>(4 * k), middle);
    EXPECT_NEAR(inside[3], 0.85 * 255, 2);
    EXPECT_NEAR(inside[0], 0.08 * 0.85 * 255, 2);

    const auto ink = extent(0, c.height, [&](int y) {
      for (int x = static_cast<int>(c.width * 0.06 + 20 * k); x < bar.second; ++x)
        if (whiteText(*pic, x, y)) return true;
      return false;
    });
    const double boxTop = boxBottom - h;
    // Neither "HEH" nor "Director" has a descender, so ink ends on the last baseline.
    const double lastBaseline =
        c.subtitle.empty()
            ? boxTop + 14 * k + main.ascent()
            : boxBottom - 14 * k - QFontMetricsF(text_draw::font(FontRole::second, title.fontName, 32 * k)).descent();
    EXPECT_NEAR(ink.second + 1, lastBaseline, 1.5);
    EXPECT_GE(ink.first, boxTop + 14 * k);
  }
}

TEST(TitleRendererCentred, WrappedLinesAreCentredOnTheCanvas) {
  TitleSpec title;
  title.style = TitleStyle::centered;
  title.showBar = false;
  for (const std::string& text : {std::string("Centre"), std::string(20, 'W') + " and more words so it wraps"}) {
    SCOPED_TRACE(text);
    title.text = text;
    const auto pic = TitleRenderer().still(title, 1280, 720);
    ASSERT_TRUE(pic);
    const auto ink = [&](int x) {
      for (int y = 0; y < pic->height; ++y)
        if (alpha(*pic, x, y)) return true;
      return false;
    };
    const auto columns = extent(0, pic->width, ink);
    EXPECT_NEAR((columns.first + columns.second + 1) / 2.0, 640, 2.0);
    EXPECT_GE(columns.first, 1280 * 0.07 - 4);
    const auto rows = extent(0, pic->height, [&](int y) {
      for (int x = 0; x < pic->width; ++x)
        if (alpha(*pic, x, y)) return true;
      return false;
    });
    EXPECT_NEAR((rows.first + rows.second) / 2.0, 360, 64 * (720 / 1080.0) * 0.3);
  }
}

TEST(TitleRendererCaption, LastBaselineOnTheMarginWithBoxOrShadow) {
  CaptionStyle style;
  style.bottomMargin = 0.1;
  const int W = 1920, H = 1080;
  const double baseline = H - H * 0.1;
  const double step = lineHeight(FontRole::main, style.fontName, style.size) * 1.12;
  for (const bool box : {true, false}) {
    SCOPED_TRACE(box);
    style.box = box;
    const auto pic = TitleRenderer().caption("HEH\nHEH", style, W, H);
    ASSERT_TRUE(pic);
    // Two ink bands of white text, one step apart, the lower one ending on the margin.
    std::vector<int> bottoms;
    for (int y = 1; y < H; ++y) {
      bool here = false, below = false;
      for (int x = W / 2 - 150; x < W / 2 + 150; ++x) {
        here = here || whiteText(*pic, x, y - 1);
        below = below || whiteText(*pic, x, y);
      }
      if (here && !below) bottoms.push_back(y);
    }
    ASSERT_EQ(bottoms.size(), 2u);
    EXPECT_NEAR(bottoms[1], baseline, 1.5);
    EXPECT_NEAR(bottoms[1] - bottoms[0], step, 1.5);

    const std::uint8_t* under = pic->at(W / 2, static_cast<int>(baseline) + 4);
    const double halfWidth =
        text_draw::line("HEH", text_draw::font(FontRole::main, style.fontName, style.size), Qt::white).width / 2;
    // Inside the box's 14-pixel side padding, or far beyond the shadow's reach.
    const int asideX = box ? static_cast<int>(W / 2 - halfWidth - 7) : W / 2 - 200;
    const std::uint8_t* aside = pic->at(asideX, static_cast<int>(baseline) - 10);
    if (box) {
      EXPECT_EQ(under[0], 0);
      EXPECT_NEAR(under[3], 0.72 * 255, 2);
      EXPECT_NEAR(aside[3], 0.72 * 255, 2);
    } else {
      EXPECT_EQ(aside[3], 0);
      EXPECT_GT(under[3], 0);  // the shadow drops below the text
      EXPECT_EQ(under[0], 0);
    }
  }
}

TEST(TitleRendererCaption, NothingToDrawGivesNoPicture) {
  TitleRenderer renderer;
  const CaptionStyle style;
  EXPECT_FALSE(renderer.caption("", style, 1920, 1080));
  EXPECT_FALSE(renderer.caption(" \n ", style, 1920, 1080));
  EXPECT_FALSE(renderer.caption("Hi", style, 0, 1080));
  TitleSpec title;
  EXPECT_FALSE(renderer.still(title, 1920, 0));
  EXPECT_FALSE(renderer.image(title, 0, 0, 0, 10));
  title.style = TitleStyle::credits;
  EXPECT_FALSE(renderer.credits(title, 0));
}

TEST(TextDraw, FontNamesFallBackFromFamilyToNamedFontToSystemFont) {
  const QString system = QFontInfo(QFontDatabase::systemFont(QFontDatabase::GeneralFont)).family();
  struct Case {
    std::string asked;
    QString family;
  };
  for (const Case& c : {Case{"DejaVu Serif", "DejaVu Serif"}, Case{"DejaVu Serif Bold", "DejaVu Serif"},
                        Case{"DejaVuSerif-Italic", "DejaVu Serif"}, Case{"No Such Family 42", system}}) {
    SCOPED_TRACE(c.asked);
    EXPECT_EQ(text_draw::resolvedFamily(FontRole::main, c.asked), c.family);
  }
  EXPECT_TRUE(QFontInfo(text_draw::font(FontRole::main, "DejaVu Serif", 40)).bold());
  EXPECT_FALSE(QFontInfo(text_draw::font(FontRole::second, "DejaVu Serif", 40)).bold());
  EXPECT_TRUE(QFontInfo(text_draw::font(FontRole::main, "DejaVuSerif-Italic", 40)).italic());

  TitleSpec title;
  title.fontName = "No Such Family 42";
  title.showBar = false;
  const auto pic = TitleRenderer().still(title, 640, 360);
  ASSERT_TRUE(pic);
  EXPECT_TRUE(anyInk(*pic));
}

TEST(TextDraw, WrapBreaksAtWordsAndInsideWordsOnlyWhenNeeded) {
  const QFont font = text_draw::font(FontRole::main, "DejaVu Sans", 40);
  const QString words = "the quick brown fox jumps over the lazy dog";
  const double width = QFontMetricsF(font).horizontalAdvance("quick brown") + 1;
  const auto lines = text_draw::wrap(words, font, width);
  ASSERT_GT(lines.size(), 2u);
  QStringList joined;
  for (const QString& l : lines) {
    EXPECT_LE(text_draw::line(l, font, Qt::white).width, width) << l.toStdString();
    joined << l;
  }
  EXPECT_EQ(joined.join(' '), words);

  const QString longWord = "Supercalifragilistic";
  const auto pieces = text_draw::wrap(longWord, font, width / 3);
  EXPECT_GT(pieces.size(), 1u);
  QString rejoined;
  for (const QString& p : pieces) rejoined += p;
  EXPECT_EQ(rejoined, longWord);

  EXPECT_EQ(text_draw::wrap("a\n\nb", font, 1000), (std::vector<QString>{"a", "", "b"}));
  EXPECT_TRUE(text_draw::wrap("", font, 1000).empty());
}

TEST(TitleRendererCredits, SheetRollsFromBelowTheCanvasToAboveIt) {
  TitleSpec title;
  title.style = TitleStyle::credits;
  title.fadeFrames = 0;
  title.text = "Credits";
  for (int i = 0; i < 12; ++i) title.text += "\n\nRole " + std::to_string(i) + "\nPerson " + std::to_string(i);
  TitleRenderer renderer;
  const int W = 960, H = 540;
  const auto sheet = renderer.credits(title, W);
  ASSERT_TRUE(sheet);
  EXPECT_EQ(sheet->width, W);
  const double k = W / 1920.0;
  const double head = lineHeight(FontRole::main, title.fontName, 64 * 0.6 * k) * 1.25;
  const double line = lineHeight(FontRole::second, title.fontName, 64 * 0.42 * k) * 1.25;
  EXPECT_NEAR(sheet->height, 40 * k + 13 * head + 24 * line, 1.0);  // 13 heads, 12 names, 12 blank lines
  ASSERT_GT(sheet->height, H);

  const std::int64_t duration = 40;
  const auto first = renderer.image(title, W, H, 0, duration);
  ASSERT_TRUE(first);
  const int top = TitleRenderer::rollTop(H, sheet->height, 0, duration);
  EXPECT_GT(top, H - 0.05 * (H + sheet->height));
  EXPECT_LT(top, H);
  for (int y = 0; y < H; ++y) {
    const bool same = y < top ? std::all_of(first->row(y), first->row(y) + first->stride(), [](auto v) { return !v; })
                              : std::memcmp(first->row(y), sheet->row(y - top), first->stride()) == 0;
    ASSERT_TRUE(same) << "row " << y;
  }
  EXPECT_TRUE(anyInk(*renderer.image(title, W, H, duration / 2, duration)));
  EXPECT_FALSE(anyInk(*renderer.image(title, W, H, duration - 1, duration)));
}

TEST(TitleRendererCache, StillIsLaidOutOnceAndFadesOnlyAtTheEnds) {
  TitleRenderer renderer;
  TitleSpec title = lowerThird("");
  title.fadeFrames = 4;
  const auto still = renderer.still(title, 1280, 720);
  EXPECT_EQ(renderer.still(title, 1280, 720), still);
  EXPECT_NE(renderer.still(title, 1920, 1080), still);
  EXPECT_EQ(renderer.image(title, 1280, 720, 10, 30), still);  // past the fade: the cached picture itself

  const auto first = renderer.image(title, 1280, 720, 0, 30);
  const auto last = renderer.image(title, 1280, 720, 29, 30);
  ASSERT_TRUE(first && last);
  const int x = 1280 * 0.06 + 2, y = static_cast<int>(720 * 0.89) - 5;
  EXPECT_NEAR(first->at(x, y)[3], still->at(x, y)[3] / 5.0, 1.5);
  EXPECT_EQ(std::memcmp(first->pixels.get(), last->pixels.get(), first->bytes()), 0);
  EXPECT_EQ(renderer.cachedPictures(), 2u);
}

TEST(TitleRendererCache, ThreadsDrawTheSamePicturesAsOneThread) {
  std::vector<TitleSpec> titles;
  for (const auto style : {TitleStyle::lowerThird, TitleStyle::centered, TitleStyle::credits}) {
    TitleSpec t = lowerThird("Second line");
    t.style = style;
    t.shadow = true;
    titles.push_back(t);
  }
  const auto drawAll = [&](TitleRenderer& r, int i) {
    std::vector<std::shared_ptr<const Picture>> out;
    for (int n = 0; n < 3; ++n) {
      TitleSpec t = titles[static_cast<std::size_t>((i + n) % 3)];
      t.text += std::to_string(n);
      out.push_back(r.still(t, 640, 360));
      out.push_back(r.caption("Caption " + std::to_string(i + n), CaptionStyle{}, 640, 360));
    }
    return out;
  };
  TitleRenderer alone;
  std::vector<std::vector<std::shared_ptr<const Picture>>> expected, got(4);
  for (int i = 0; i < 4; ++i) expected.push_back(drawAll(alone, i));
  TitleRenderer together;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back([&, i] { got[static_cast<std::size_t>(i)] = drawAll(together, i); });
  for (auto& t : threads) t.join();
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t n = 0; n < expected[i].size(); ++n) {
      ASSERT_TRUE(got[i][n] && expected[i][n]);
      EXPECT_EQ(std::memcmp(got[i][n]->pixels.get(), expected[i][n]->pixels.get(), got[i][n]->bytes()), 0) << i << n;
    }
}

}  // namespace
}  // namespace brevelan
