#include "edit/nesting.h"

#include <gtest/gtest.h>

#include "edit/editor_state.h"
#include "edit/paste_attributes.h"
#include "edit/split_edit.h"
#include "timeline_fixture.h"

namespace brevelan {
namespace {

using namespace testing;

Project withSequence(BrevSequence seq) {
  Project project = Project::make();
  project.activeSequenceID = seq.id;
  project.sequences = {std::move(seq)};
  return project;
}

// Adds a sequence holding one nested clip of each given sequence.
Uuid addHolder(Project& project, std::vector<Uuid> inner) {
  BrevSequence holder = BrevSequence::make("Holder");
  for (const Uuid& id : inner)
    mutTrack(holder, kV1).clips.push_back(Clip::make(ClipSource::nested(id), "N", 0, 10));
  project.sequences.push_back(holder);
  return holder.id;
}

TEST(Nesting, FindsLoopsThroughNestedSequences) {
  Project project = withSequence(BrevSequence::make("Empty"));
  const Uuid empty = project.sequences[0].id;
  EXPECT_TRUE(nests(project, empty, empty));

  const Uuid middle = addHolder(project, {empty});
  const Uuid top = addHolder(project, {Uuid::make(), middle});  // a missing sequence first
  EXPECT_TRUE(nests(project, top, empty));   // two levels down
  EXPECT_FALSE(nests(project, empty, top));

  // A chain deeper than 16 levels counts as no loop.
  std::vector<Uuid> chain{empty};
  for (int level = 0; level < 17; ++level) chain.push_back(addHolder(project, {chain.back()}));
  EXPECT_FALSE(nests(project, chain.back(), empty));
  EXPECT_TRUE(nests(project, chain.back(), chain[2]));
}

TEST(Nesting, NestsAAndBIntoOneLinkedClip) {
  Project project = withSequence(abc());
  const BrevSequence& open = project.sequences[0];
  const std::vector<Uuid> ids{idOf(open, "A"), idOf(open, "B"), idOf(open, "a"), idOf(open, "b")};
  const auto id = nest(project, ids, nextNestName(project));
  ASSERT_TRUE(id);
  ASSERT_EQ(project.sequences.size(), 2u);

  const BrevSequence& outer = *project.activeSequence();
  const BrevSequence& inner = *project.sequence(*id);
  EXPECT_EQ(inner.name, "Nested 2");
  EXPECT_EQ(inner.duration(), 200);
  EXPECT_EQ(named(inner, "B").start, 100);
  EXPECT_EQ(named(inner, "b").start, 100);
  for (const TrackRef ref : {kV1, kA1}) {
    const auto& clips = trackAt(outer, ref).clips;
    ASSERT_EQ(clips.size(), 2u);
    EXPECT_EQ(*clips[0].source.nestedID(), *id);
    EXPECT_EQ(std::tie(clips[0].start, clips[0].duration), std::make_tuple(0, 200));
    EXPECT_EQ(clips[1].start, 200);  // C stays
  }
  EXPECT_TRUE(outer.video[0].clips[0].linkID);
  EXPECT_EQ(outer.video[0].clips[0].linkID, outer.audio[0].clips[0].linkID);
  EXPECT_FALSE(nest(project, {Uuid::make()}, "None"));
}

TEST(SplitEdit, JAndLCutsRollOnlyTheSound) {
  struct Case {
    bool jCut;
    std::int64_t aEnd, bStart;
  };
  for (const Case& c : {Case{true, 85, 85}, Case{false, 115, 115}}) {
    BrevSequence seq = abc();
    ASSERT_TRUE(splitEdit(seq, idOf(seq, "B"), kSplitEditFrames, c.jCut));
    EXPECT_EQ(named(seq, "a").end(), c.aEnd);
    EXPECT_EQ(named(seq, "b").start, c.bStart);
    EXPECT_EQ(named(seq, "A").end(), 100);
    EXPECT_EQ(named(seq, "B").start, 100);
  }
  BrevSequence seq = abc();
  mutTrack(seq, kA1).clips.erase(0);  // no sound under A
  const BrevSequence before = seq;
  EXPECT_FALSE(splitEdit(seq, idOf(seq, "B"), kSplitEditFrames, true));
  EXPECT_EQ(seq, before);
}

TEST(PasteAttributes, CopiesOnlyTheChosenGroups) {
  BrevSequence seq = abc();
  Clip from = named(seq, "A");
  from.transform.mut().x = 40;
  from.grade.mut().exposure = 1;
  from.audio.mut().gainDB = -6;
  from.speed.rate = 2;
  const Uuid b = idOf(seq, "B");

  BrevSequence untouched = seq;
  EXPECT_FALSE(pasteAttributes(untouched, from, {b}, 0));

  ASSERT_TRUE(pasteAttributes(seq, from, {b}, PasteGroups::transform | PasteGroups::grade));
  Clip pasted = named(seq, "B");
  EXPECT_EQ(pasted.transform->x, 40);
  EXPECT_EQ(pasted.grade->exposure, 1);
  EXPECT_EQ(pasted.audio->gainDB, 0);
  EXPECT_EQ(pasted.speed.rate, 1);

  ASSERT_TRUE(pasteAttributes(seq, from, {b}, PasteGroups::speed));
  pasted = named(seq, "B");
  EXPECT_EQ(pasted.speed.rate, 2);
  EXPECT_EQ(pasted.duration, 50);             // same source at twice the speed
  EXPECT_EQ(named(seq, "b").speed.rate, 2);   // its sound keeps pace
  EXPECT_EQ(named(seq, "C").start, 150);
}

}  // namespace
}  // namespace brevelan
