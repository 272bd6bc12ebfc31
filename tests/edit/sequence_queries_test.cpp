#include "edit/sequence_queries.h"

#include <gtest/gtest.h>

#include "edit/linking.h"
#include "edit/snapping.h"
#include "timeline_fixture.h"

namespace brevelan {
namespace {

using namespace testing;

TEST(SequenceQueries, NeighboursCutsAndEditPoints) {
  EXPECT_EQ(editPoints(BrevSequence::make("Empty")), std::vector<std::int64_t>{0});
  BrevSequence seq = abc();
  seq.video.mut(0).clips.push_back(movieClip("D", 301, 10));  // one frame after C
  seq.video.mut(1).locked = true;
  const Clip b = named(seq, "B"), c = named(seq, "C");
  EXPECT_EQ(next(seq, b, kV1)->name, "C");
  EXPECT_EQ(prev(seq, b, kV1)->name, "A");
  EXPECT_FALSE(next(seq, c, kV1));
  EXPECT_EQ(nextStart(seq, c, kV1), 301);
  EXPECT_EQ(prevEnd(seq, c, kV1), 200);
  EXPECT_EQ(cutPoints(seq, kV1), (std::vector<CutPoint>{{idOf(seq, "A"), b.id}, {b.id, c.id}}));
  EXPECT_EQ(editPoints(seq), (std::vector<std::int64_t>{0, 100, 200, 300, 301, 311}));
  EXPECT_EQ(unlockedRefs(seq), (std::vector<TrackRef>{kV1, kA1, {TrackKind::audio, 1}}));
  EXPECT_EQ(locate(seq, idOf(seq, "b")), (ClipLocation{kA1, 1}));
}

TEST(SequenceQueries, LinkingAndShifting) {
  BrevSequence seq = abc();
  seq.video.mut(1).clips.push_back(movieClip("Loose", 90, 60));
  EXPECT_TRUE(partners(seq, idOf(seq, "Loose")).empty());
  EXPECT_EQ(group(seq, {idOf(seq, "B"), idOf(seq, "b"), Uuid::make()}, true).size(), 2u);
  link(seq, {idOf(seq, "A"), idOf(seq, "b"), idOf(seq, "Loose")});  // b leaves B's group
  EXPECT_EQ(partners(seq, idOf(seq, "A")).size(), 2u);
  EXPECT_TRUE(partners(seq, idOf(seq, "B")).empty());
  unlink(seq, {idOf(seq, "A")});
  EXPECT_EQ(partners(seq, idOf(seq, "b"))[0].name, "Loose");

  const BrevSequence before = seq;
  shiftClips(seq, kV1, 100, 5, {idOf(seq, "C")});
  shiftClips(seq, {TrackKind::video, 1}, 100, 5);
  EXPECT_EQ(named(seq, "B").start, 105);
  EXPECT_EQ(named(seq, "C").start, 200);
  EXPECT_EQ(named(seq, "Loose").start, 90);  // starts before 100, reaches past it
  EXPECT_EQ(&seq.video[0].clips[0], &before.video[0].clips[0]);  // unchanged clips stay shared
}

TEST(Snapping, NearestWithinReachFirstWinsTies) {
  const std::vector<std::int64_t> points{100, 90, 110};
  const std::pair<std::int64_t, std::optional<std::int64_t>> cases[] = {
      {103, 100}, {106, 110}, {105, 100}, {95, 100}, {94, 90}, {115, 110}, {116, std::nullopt}};
  for (const auto& [frame, expected] : cases) EXPECT_EQ(snap(frame, points, 5), expected) << frame;
  EXPECT_EQ(std::vector({snapReach(1), snapReach(9), snapReach(40)}), std::vector<std::int64_t>({10, 2, 1}));
  BrevSequence seq = abc();
  seq.markers.push_back({Uuid::make(), 42, "M", 0});
  EXPECT_EQ(snapPoints(seq, {idOf(seq, "C"), idOf(seq, "c")}, 7, {500}),
            (std::vector<std::int64_t>{0, 7, 42, 100, 200, 500}));
}

}  // namespace
}  // namespace brevelan
