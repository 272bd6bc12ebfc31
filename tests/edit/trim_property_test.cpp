#include <gtest/gtest.h>

#include <random>

#include "timeline_fixture.h"

namespace brevelan {
namespace {

using namespace testing;

// abc() with J-cut offsets, tight source limits, a reversed clip, and a
// colour matte linked to a frozen clip on V2. `fractional` swaps in speeds
// whose source use rounds (150 %, a ramp).
BrevSequence mixedSequence(bool fractional) {
  BrevSequence seq = abc();
  for (const TrackRef ref : {kV1, kA1}) {
    auto& clips = mutTrack(seq, ref).clips;
    clips.mut(0).sourceLimit = 400;
    clips.mut(1).sourceLimit = 300;
    clips.mut(1).speed.rate = fractional ? 1.5 : 2;
    clips.mut(2).sourceLimit = 200;
    clips.mut(2).speed.reverse = true;
    if (fractional) clips.mut(2).speed.rampTo = 0.75;
  }
  auto& sound = mutTrack(seq, kA1).clips;
  sound.mut(0).duration = 90;
  sound.mut(1).start = 90;
  sound.mut(2).start = 230;
  sound.mut(2).duration = 70;
  Clip frozen = movieClip("F", 80, 50, 5, 6);
  frozen.speed.freeze = true;
  Clip matte = Clip::make(ClipSource::color(RGBA::black()), "Matte", 10, 50);
  matte.linkID = frozen.linkID = Uuid::make();
  seq.video.mut(1).clips = {matte, frozen};
  return seq;
}

// Sorted, not overlapping, from frame 0, at least a frame long, within the source.
bool sound(const BrevSequence& seq, std::int64_t slack) {
  for (const TrackRef ref : allRefs(seq)) {
    std::int64_t reach = 0;
    for (const Clip& c : trackAt(seq, ref).clips) {
      if (c.start < reach || c.duration < 1 || c.sourceIn < 0) return false;
      if (c.sourceLimit && c.sourceIn + c.speed.consumed(c.duration) > *c.sourceLimit + slack) return false;
      reach = c.end();
    }
  }
  return true;
}

TEST(TrimProperty, RandomEditsKeepEveryTrackSound) {
  // At fractional speeds a forward head may round one frame past the source
  // end (the slack movedHead allows); whole speeds never pass it.
  for (const auto& [fractional, slack] : {std::pair{false, 0}, std::pair{true, 1}}) {
    BrevSequence seq = mixedSequence(fractional);
    std::mt19937 rng(fractional ? 7 : 11);
    const auto pick = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng); };
    for (int step = 0; step < 2000; ++step) {
      std::vector<Uuid> ids;
      for (const TrackRef ref : allRefs(seq))
        for (const Clip& c : trackAt(seq, ref).clips) ids.push_back(c.id);
      const Uuid id = ids[static_cast<std::size_t>(pick(static_cast<int>(ids.size())))];
      const std::int64_t by = pick(301) - 150;
      const int op = pick(kToolCount + (ids.size() > 40 ? 0 : 2));  // blades only while the timeline is small
      const BrevSequence before = seq;
      std::int64_t applied = 0;
      if (op < kToolCount)
        applied = useTool(seq, static_cast<Tool>(op), id, by, pick(2) == 1);
      else if (op == kToolCount)
        blade(seq, id, clip(seq, id)->start + by / 3 + 50, pick(2) == 1);
      else
        blade(seq, by + 150, allRefs(seq));
      SCOPED_TRACE("step " + std::to_string(step) + ", op " + std::to_string(op));
      ASSERT_TRUE(sound(seq, slack));
      ASSERT_TRUE(applied == 0 || (applied * by > 0 && std::abs(applied) <= std::abs(by)));
      if (op < kToolCount && applied == 0) {
        ASSERT_EQ(seq, before);
      }
    }
  }
}

}  // namespace
}  // namespace brevelan
