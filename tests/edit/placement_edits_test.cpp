#include "edit/placement_edits.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "timeline_fixture.h"

namespace brevelan {
namespace {

using namespace testing;

// A track as "name start+length@sourceIn" items, in order.
std::string layout(const BrevSequence& seq, TrackRef ref) {
  std::string out;
  for (const Clip& c : trackAt(seq, ref).clips) {
    if (!out.empty()) out += ' ';
    out += c.name;
    out += ' ' + std::to_string(c.start) + '+' + std::to_string(c.duration) + '@' + std::to_string(c.sourceIn);
  }
  return out;
}

Placement pictureX(std::int64_t length = 30) { return {kV1, movieClip("X", 0, length, 500)}; }

// On abc(): A 0..100, B 100..200 (source in 50), C 200..300 on V1, linked
// sound a, b, c on A1.
TEST(PlacementEdits, WorkedExamples) {
  struct Case {
    const char* what;
    std::function<bool(BrevSequence&)> edit;
    const char* v1;
    const char* a1;
  };
  const char* sound = "a 0+100@0 b 100+100@50 c 200+100@0";
  const Case cases[] = {
      {"overwrite X into B", [](auto& s) { return overwrite(s, {pictureX()}, 150); },
       "A 0+100@0 B 100+50@50 X 150+30@500 B 180+20@130 C 200+100@0", sound},
      {"overwrite exactly over B", [](auto& s) { return overwrite(s, {pictureX(100)}, 100); },
       "A 0+100@0 X 100+100@500 C 200+100@0", sound},
      {"insert keeps every unlocked track in sync", [](auto& s) { return insert(s, {pictureX()}, 150); },
       "A 0+100@0 B 100+50@50 X 150+30@500 B 180+50@100 C 230+100@0", "a 0+100@0 b 100+50@50 b 180+50@100 c 230+100@0"},
      {"insert leaves a locked track alone",
       [](auto& s) { s.audio.mut(0).locked = true; return insert(s, {pictureX()}, 150); },
       "A 0+100@0 B 100+50@50 X 150+30@500 B 180+50@100 C 230+100@0", sound},
      {"extract 50-150", [](auto& s) { return extract(s, 50, 150); }, "A 0+50@0 B 50+50@100 C 100+100@0",
       "a 0+50@0 b 50+50@100 c 100+100@0"},
      {"lift B takes its sound, the gap stays", [](auto& s) { return lift(s, {idOf(s, "B")}, true); },
       "A 0+100@0 C 200+100@0", "a 0+100@0 c 200+100@0"},
      {"ripple delete B", [](auto& s) { return rippleDelete(s, {idOf(s, "B")}, true); }, "A 0+100@0 C 100+100@0",
       "a 0+100@0 c 100+100@0"},
      {"ripple delete two neighbours at once",
       [](auto& s) { return rippleDelete(s, {idOf(s, "B"), idOf(s, "A")}, false); }, "C 0+100@0", sound},
      {"lift range on the picture only", [](auto& s) { return liftRange(s, 50, 150, {kV1}); },
       "A 0+50@0 B 150+50@100 C 200+100@0", sound},
      {"move C 30 earlier onto B's end", [](auto& s) { return move(s, {idOf(s, "C")}, -30, 0, true); },
       "A 0+100@0 B 100+70@50 C 170+100@0", "a 0+100@0 b 100+70@50 c 170+100@0"},
      {"move never before frame 0", [](auto& s) { return move(s, {idOf(s, "B")}, -500, 0, false); },
       "B 0+100@50 C 200+100@0", sound},
      {"move up past the top track stops at V2", [](auto& s) { return move(s, {idOf(s, "C")}, 0, 5, true); },
       "A 0+100@0 B 100+100@50", sound},
  };
  for (const Case& c : cases) {
    BrevSequence seq = abc();
    EXPECT_TRUE(c.edit(seq)) << c.what;
    EXPECT_EQ(layout(seq, kV1), c.v1) << c.what;
    EXPECT_EQ(layout(seq, kA1), c.a1) << c.what;
  }
}

TEST(PlacementEdits, LinkedOverwriteKeepsTheCutPiecesPartners) {
  BrevSequence seq = abc();
  ASSERT_TRUE(overwrite(seq, {pictureX(), {kA1, movieClip("x", 0, 30, 500)}}, 150));
  const Clip& rightPicture = seq.video[0].clips[3];
  const Clip& rightSound = seq.audio[0].clips[3];
  ASSERT_EQ(std::tie(rightPicture.start, rightSound.start), std::make_tuple(180, 180));
  EXPECT_TRUE(rightPicture.linkID && rightPicture.linkID == rightSound.linkID);
  EXPECT_NE(rightPicture.linkID, named(seq, "B").linkID);
}

TEST(PlacementEdits, CloseGapWorksOnEachTrackAlone) {
  BrevSequence seq = BrevSequence::make("Gaps");
  mutTrack(seq, kV1).clips = {movieClip("A", 0, 100), movieClip("C", 150, 100)};
  mutTrack(seq, kA1).clips = {movieClip("long", 0, 200), movieClip("tail", 260, 10)};
  for (const TrackRef ref : unlockedRefs(seq)) closeGap(seq, 120, ref);
  EXPECT_EQ(layout(seq, kV1), "A 0+100@0 C 100+100@0");
  EXPECT_EQ(layout(seq, kA1), "long 0+200@0 tail 260+10@0");  // the playhead is in a clip
}

TEST(PlacementEdits, BadInputChangesNothing) {
  const std::function<bool(BrevSequence&)> edits[] = {
      [](auto& s) { return clear(s, 50, 150, {TrackKind::video, 9}); },
      [](auto& s) { return liftRange(s, 150, 50, unlockedRefs(s)); },
      [](auto& s) { return extract(s, 150, 150); },
      [](auto& s) { return insert(s, {pictureX(0)}, 150); },
      [](auto& s) { return closeGap(s, 400, kV1); },
      [](auto& s) { return move(s, {idOf(s, "A")}, -10, 0, true); },
      [](auto& s) { s.video.mut(0).locked = true; return move(s, {idOf(s, "C")}, 5, 0, false); },
  };
  for (std::size_t i = 0; i < std::size(edits); ++i) {
    BrevSequence seq = abc();
    EXPECT_FALSE(edits[i](seq)) << i;
    EXPECT_EQ(layout(seq, kV1) + " / " + layout(seq, kA1), layout(abc(), kV1) + " / " + layout(abc(), kA1)) << i;
  }
}

}  // namespace
}  // namespace brevelan
