#include "app/timeline/timeline_geometry.h"

#include <gtest/gtest.h>

#include "edit/timeline_fixture.h"

namespace brevelan {
namespace {

using testing::movieClip;

// A 0..100 touching B 100..200, a gap, then C 300..400.
Track track() {
  Track t = Track::make(TrackKind::video, "V1");
  t.clips = {movieClip("A", 0, 100), movieClip("B", 100, 100), movieClip("C", 300, 100)};
  return t;
}

TEST(TimelineGeometry, HitTestPrefersHeadsThenTailsThenBodiesWithinSevenPoints) {
  const Track t = track();
  struct Case {
    double pixelsPerFrame;
    double x;  // pointer, in points from frame 0
    std::optional<std::size_t> index;
    Grab grab;
  };
  const Case cases[] = {
      {2, 200 - 5, 1, Grab::head},   // at a cut the clip on the right is grabbed by its head
      {2, 200 + 7, 1, Grab::head},   // exactly 7 points still reaches
      {2, 200 + 8, 1, Grab::body},
      {2, 400 + 6, 1, Grab::tail},   // B's end before a gap
      {2, 400 + 8, std::nullopt, Grab::body},
      {2, 500, std::nullopt, Grab::body},  // in the gap
      {2, 600 - 7, 2, Grab::head},
      {2, 800 - 3, 2, Grab::tail},
      {0.1, 10 + 3, 1, Grab::head},  // zoomed out, a whole 100-frame clip is 10 points wide
      {0.1, 40 - 1, 2, Grab::tail},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.pixelsPerFrame << " ppf at " << c.x);
    const std::optional<ClipHit> hit = hitClip(t, TimeAxis{0, c.pixelsPerFrame}, c.x);
    ASSERT_EQ(hit.has_value(), c.index.has_value());
    if (!hit) continue;
    EXPECT_EQ(hit->index, *c.index);
    EXPECT_EQ(hit->clip, t.clips[*c.index].id);
    EXPECT_EQ(hit->grab, c.grab);
  }
}

TEST(TimelineGeometry, ClipsBetweenFindsOnlyTheClipsReachingIntoTheRange) {
  const Track t = track();
  using Range = std::pair<std::size_t, std::size_t>;
  EXPECT_EQ(clipsBetween(t, 0, 50), Range(0, 1));
  EXPECT_EQ(clipsBetween(t, 100, 101), Range(1, 2)) << "A ends where the range starts";
  EXPECT_EQ(clipsBetween(t, 99, 301), Range(0, 3));
  EXPECT_EQ(clipsBetween(t, 200, 300), Range(2, 2)) << "the gap holds nothing";
  EXPECT_EQ(clipsBetween(t, 1000, 2000), Range(3, 3));
}

}  // namespace
}  // namespace brevelan
