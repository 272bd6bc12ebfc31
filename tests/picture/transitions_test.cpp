#include "picture/transitions.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "picture/raster.h"

#include "picture_fixture.h"

namespace brevelan {
namespace {

using testing::Pixel;
using testing::pixel;

Picture solid(int w, int h, Pixel v) {
  Picture p(w, h, PixelOrder::rgba);
  fill(p, {v[0] / 255.0, v[1] / 255.0, v[2] / 255.0, 1});
  return p;
}

// Red says which column (and green which row) of the source a pixel came
// from, blue which picture: 0 for A, 200 for B.
Picture labelled(int w, int h, int blue) {
  Picture p(w, h, PixelOrder::rgba);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      std::uint8_t* q = p.row(y) + x * 4;
      q[0] = static_cast<std::uint8_t>(x * 20);
      q[1] = static_cast<std::uint8_t>(y * 20);
      q[2] = static_cast<std::uint8_t>(blue);
      q[3] = 255;
    }
  return p;
}

Transition make(TransitionKind kind, Direction direction = Direction::left) {
  Transition t;
  t.kind = kind;
  t.direction = direction;
  return t;
}

TEST(Transitions, ProgressNeverShowsOneClipAloneInsideTheSpan) {
  EXPECT_DOUBLE_EQ(transitionProgress(25, 25, 35), 1.0 / 11);
  EXPECT_DOUBLE_EQ(transitionProgress(34, 25, 35), 10.0 / 11);
  EXPECT_DOUBLE_EQ(transitionProgress(20, 25, 35), 0);
  EXPECT_DOUBLE_EQ(transitionProgress(40, 25, 35), 1);
  EXPECT_DOUBLE_EQ(transitionProgress(5, 5, 5), 0.5);
}

TEST(Transitions, FadesMatchTheWorkedExamples) {
  const Picture a = solid(4, 4, {200, 0, 0, 255}), b = solid(4, 4, {0, 0, 200, 255});
  const struct {
    TransitionKind kind;
    double p;
    Pixel expected;
  } cases[] = {
      {TransitionKind::crossfade, 0.5, {100, 0, 100, 255}},
      {TransitionKind::crossfade, 0.25, {150, 0, 50, 255}},
      {TransitionKind::dipToColor, 0.25, {100, 0, 0, 255}},
      {TransitionKind::dipToColor, 0.5, {0, 0, 0, 255}},
      {TransitionKind::dipToColor, 0.75, {0, 0, 100, 255}},
      {TransitionKind::zoom, 0.5, {100, 0, 100, 255}},
  };
  for (const auto& c : cases) {
    const Picture out = blendTransition(make(c.kind), &a, &b, c.p, 4, 4);
    EXPECT_EQ(pixel(out, 2, 2), c.expected) << text(c.kind) << " at " << c.p;
  }
  // The colour half of a dip is opaque: over any frame it shows as the dip.
  Transition white = make(TransitionKind::dipToColor);
  white.color = RGBA::white();
  EXPECT_EQ(pixel(blendTransition(white, &a, &b, 0.5, 4, 4), 0, 0), (Pixel{255, 255, 255, 255}));
}

// Two opaque pictures blended at any point stay opaque, so nothing beneath
// shows through mid-transition.
TEST(Transitions, OpaqueInputsStayOpaqueThroughout) {
  const Picture a = solid(4, 4, {201, 7, 0, 255}), b = solid(4, 4, {0, 99, 201, 255});
  for (const TransitionKind kind : {TransitionKind::crossfade, TransitionKind::dipToColor, TransitionKind::zoom})
    for (int f = 0; f <= 11; ++f)
      EXPECT_EQ(pixel(blendTransition(make(kind), &a, &b, f / 11.0, 4, 4), 1, 1)[3], 255) << text(kind) << " " << f;
}

TEST(Transitions, MissingPictureBlendsAgainstTransparency) {
  const Picture b = solid(4, 4, {0, 0, 200, 255});
  EXPECT_EQ(pixel(blendTransition(make(TransitionKind::crossfade), nullptr, &b, 0.5, 4, 4), 0, 0),
            (Pixel{0, 0, 100, 128}));
  const Picture pushed = blendTransition(make(TransitionKind::push), &b, nullptr, 0.5, 4, 4);
  EXPECT_EQ(pixel(pushed, 1, 0), (Pixel{0, 0, 200, 255}));
  EXPECT_EQ(pixel(pushed, 2, 0), (Pixel{0, 0, 0, 0}));
}

// Which source pixel lands where, for the moving kinds, in screen terms on an
// 8 × 8 canvas: `from(x, y)` names the expected source pixel.
TEST(Transitions, MovingKindsFollowTheirDirections) {
  const Picture a = labelled(8, 8, 0), b = labelled(8, 8, 200);
  using Source = std::function<Pixel(int x, int y)>;
  const auto A = [&](int x, int y) { return pixel(a, x, y); };
  const auto B = [&](int x, int y) { return pixel(b, x, y); };
  const struct {
    const char* name;
    TransitionKind kind;
    Direction direction;
    double p;
    Source from;
  } cases[] = {
      {"wipe left shows B in the right quarter", TransitionKind::wipe, Direction::left, 0.25,
       [&](int x, int y) { return x >= 6 ? B(x, y) : A(x, y); }},
      {"wipe right, left quarter", TransitionKind::wipe, Direction::right, 0.25,
       [&](int x, int y) { return x < 2 ? B(x, y) : A(x, y); }},
      {"wipe up, bottom band", TransitionKind::wipe, Direction::up, 0.25,
       [&](int x, int y) { return y >= 6 ? B(x, y) : A(x, y); }},
      {"wipe down, top band", TransitionKind::wipe, Direction::down, 0.25,
       [&](int x, int y) { return y < 2 ? B(x, y) : A(x, y); }},
      {"push left: A's right half left, B's left half right", TransitionKind::push, Direction::left, 0.5,
       [&](int x, int y) { return x < 4 ? A(x + 4, y) : B(x - 4, y); }},
      {"push right", TransitionKind::push, Direction::right, 0.5,
       [&](int x, int y) { return x < 4 ? B(x + 4, y) : A(x - 4, y); }},
      {"push up moves both pictures up", TransitionKind::push, Direction::up, 0.25,
       [&](int x, int y) { return y < 6 ? A(x, y + 2) : B(x, y - 6); }},
      {"push down", TransitionKind::push, Direction::down, 0.5,
       [&](int x, int y) { return y < 4 ? B(x, y + 4) : A(x, y - 4); }},
      {"slide left: A stays, B covers the right half", TransitionKind::slide, Direction::left, 0.5,
       [&](int x, int y) { return x < 4 ? A(x, y) : B(x - 4, y); }},
      {"slide up", TransitionKind::slide, Direction::up, 0.25,
       [&](int x, int y) { return y < 6 ? A(x, y) : B(x, y - 6); }},
  };
  for (const auto& c : cases) {
    const Picture out = blendTransition(make(c.kind, c.direction), &a, &b, c.p, 8, 8);
    for (int y = 0; y < 8; ++y)
      for (int x = 0; x < 8; ++x) ASSERT_EQ(pixel(out, x, y), c.from(x, y)) << c.name << " at " << x << "," << y;
  }
}

TEST(Transitions, ZoomThroughEnlargesAAboutTheCentre) {
  // A white pixel 3 px right of the centre moves outward as A grows.
  Picture a = solid(21, 21, {0, 0, 0, 255});
  std::fill_n(a.row(10) + 13 * 4, 4, 255);
  const Picture out = blendTransition(make(TransitionKind::zoom), &a, nullptr, 1, 21, 21);
  EXPECT_EQ(pixel(out, 13, 10)[3], 0);  // faded out entirely at the end
  const Picture mid = blendTransition(make(TransitionKind::zoom), &a, nullptr, 0.5, 21, 21);
  // 3 px × 1.3 = 3.9: most of the dot lands one pixel further right.
  EXPECT_GT(pixel(mid, 14, 10)[0], pixel(mid, 13, 10)[0]);
}

}  // namespace
}  // namespace brevelan
