#include "edit/sequence_queries.h"

#include <gtest/gtest.h>

#include "edit/linking.h"
#include "edit/snapping.h"
#include "timeline_fixture.h"

namespace brevelan {
namespace {

using namespace testing;

TEST(SequenceQueries, CutsAndEditPoints) {
  EXPECT_EQ(editPoints(BrevSequence::make("Empty")), std::vector<std::int64_t>{0});
  BrevSequence seq = abc();
  seq.video.mut(0).clips.push_back(movieClip("D", 301, 10));  // one frame after C
  const Uuid b = idOf(seq, "B");
  EXPECT_EQ(cutPoints(seq, kV1), (std::vector<CutPoint>{{idOf(seq, "A"), b}, {b, idOf(seq, "C")}}));
  EXPECT_EQ(editPoints(seq), (std::vector<std::int64_t>{0, 100, 200, 300, 301, 311}));
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
  EXPECT_EQ(std::tuple(named(seq, "B").start, named(seq, "C").start), std::tuple(105, 200));
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
