#include "edit/trim_tools.h"

#include <gtest/gtest.h>

#include "timeline_fixture.h"

namespace brevelan {
namespace {

using namespace testing;

Clip& at(BrevSequence& seq, TrackRef ref, std::size_t i) { return mutTrack(seq, ref).clips.mut(i); }

// On abc(): A 0..100, B 100..200 (source in 50), C 200..300, linked sound a, b, c.
TEST(TrimTools, WorkedExamplesAndClamps) {
  struct Expect {
    const char* clip;
    std::int64_t start, length, sourceIn;
  };
  struct Case {
    const char* what;
    std::function<void(BrevSequence&)> setup;
    Tool tool;
    const char* clip;
    std::int64_t by;
    bool linked;
    std::int64_t applied;
    std::vector<Expect> after;
  };
  const auto none = [](BrevSequence&) {};
  const Case cases[] = {
      {"ripple B's tail -20", none, Tool::rippleTail, "B", -20, true, -20,
       {{"B", 100, 80, 50}, {"C", 180, 100, 0}, {"b", 100, 80, 50}, {"c", 180, 100, 0}}},
      {"ripple B's head +10", none, Tool::rippleHead, "B", 10, true, 10, {{"B", 100, 90, 60}, {"c", 190, 100, 0}}},
      {"ripple B's head -80", none, Tool::rippleHead, "B", -80, true, -50, {{"B", 100, 150, 0}, {"c", 250, 100, 0}}},
      {"linked ripple stops where the sound runs out", [](auto& s) { at(s, kA1, 1).sourceIn = 30; },
       Tool::rippleHead, "B", -80, true, -30, {{"B", 100, 130, 20}, {"b", 100, 130, 0}, {"c", 230, 100, 0}}},
      {"unlinked ripple leaves the sound", none, Tool::rippleTail, "B", -20, false, -20,
       {{"C", 180, 100, 0}, {"c", 200, 100, 0}}},
      {"locked sound track refuses", [](auto& s) { s.audio.mut(0).locked = true; }, Tool::rippleTail, "B", -20,
       true, 0, {}},
      {"roll A|B +10", none, Tool::roll, "A", 10, true, 10,
       {{"A", 0, 110, 0}, {"B", 110, 90, 60}, {"C", 200, 100, 0}, {"b", 110, 90, 60}}},
      {"roll A|B -60", none, Tool::roll, "A", -60, true, -50, {{"A", 0, 50, 0}, {"B", 50, 150, 0}}},
      {"roll with nothing on the right", none, Tool::roll, "C", 10, true, 0, {}},
      {"slip B +7", none, Tool::slip, "B", 7, true, 7, {{"B", 100, 100, 57}, {"b", 100, 100, 57}}},
      {"slip stops at the source end", none, Tool::slip, "B", 5000, true, 850, {{"B", 100, 100, 900}}},
      {"slip stops at the source start", none, Tool::slip, "B", INT64_MIN, true, -50, {{"b", 100, 100, 0}}},
      {"slip of a colour clip", [](auto& s) { at(s, kV1, 1).source = ClipSource::color(RGBA::black()); },
       Tool::slip, "B", 100'000, false, 100'000, {{"B", 100, 100, 50}}},
      {"slide B +15", [](auto& s) { at(s, kV1, 1).sourceIn = 0; }, Tool::slide, "B", 15, true, 15,
       {{"A", 0, 115, 0}, {"B", 115, 100, 0}, {"C", 215, 85, 15}, {"c", 215, 85, 15}}},
      {"slide stops at a one-frame neighbour", none, Tool::slide, "B", 200, true, 99,
       {{"A", 0, 199, 0}, {"B", 199, 100, 50}, {"c", 299, 1, 99}}},
      {"trim A's tail +5 meets B", none, Tool::trimTail, "A", 5, true, 0, {}},
      {"trim A's tail -10", none, Tool::trimTail, "A", -10, true, -10, {{"a", 0, 90, 0}, {"B", 100, 100, 50}}},
      {"linked trim stops at the sound's neighbour",
       [](auto& s) { mutTrack(s, kV1).clips.erase(2); at(s, kA1, 2).start = 210; }, Tool::trimTail, "B", 50, true,
       10, {{"B", 100, 110, 50}, {"b", 100, 110, 50}}},
      {"a frozen tail never runs out", [](auto& s) { at(s, kV1, 2).speed.freeze = true; at(s, kV1, 2).sourceIn = 999; },
       Tool::trimTail, "C", 5000, false, 5000, {{"C", 200, 5100, 999}}},
  };
  for (const Case& c : cases) {
    BrevSequence seq = abc();
    c.setup(seq);
    const BrevSequence before = seq;
    EXPECT_EQ(useTool(seq, c.tool, idOf(seq, c.clip), c.by, c.linked), c.applied) << c.what;
    if (c.applied == 0) {
      EXPECT_EQ(seq, before) << c.what;
    }
    for (const Expect& e : c.after) {
      const Clip clip = named(seq, e.clip);
      EXPECT_EQ(std::tie(clip.start, clip.duration, clip.sourceIn), std::tie(e.start, e.length, e.sourceIn))
          << c.what << ": " << e.clip;
    }
  }
}

TEST(TrimTools, BladeGivesRightPiecesTheirOwnGroup) {
  BrevSequence seq = abc();
  const Clip a = named(seq, "A");
  EXPECT_FALSE(blade(seq, a.id, 0, true) || blade(seq, a.id, 100, true));
  ASSERT_TRUE(blade(seq, a.id, 50, true));
  const Clip& left = seq.video[0].clips[0];
  const Clip& right = seq.video[0].clips[1];
  EXPECT_EQ(std::tie(left.duration, right.start, right.duration, right.sourceIn), std::make_tuple(50, 50, 50, 50));
  EXPECT_EQ(std::tuple(seq.audio[0].clips[0].linkID, seq.audio[0].clips[1].linkID), std::tuple(a.linkID, right.linkID));
  EXPECT_NE(right.linkID, a.linkID);

  EXPECT_TRUE(blade(seq, idOf(seq, "B"), 150, false));  // Alt-blade: picture only
  EXPECT_EQ(std::pair(seq.video[0].clips.size(), seq.audio[0].clips.size()), std::pair(5ul, 4ul));
  seq.audio.mut(0).locked = true;
  EXPECT_EQ(blade(seq, 200, unlockedRefs(seq)), 0);
  EXPECT_EQ(blade(seq, 250, unlockedRefs(seq)), 1);
}

}  // namespace
}  // namespace brevelan
