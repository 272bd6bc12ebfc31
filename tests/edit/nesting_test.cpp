#include "edit/nesting.h"

#include <gtest/gtest.h>

#include "edit/paste_attributes.h"
#include "edit/split_edit.h"
#include "editor_fakes.h"

namespace brevelan {
namespace {

using namespace testing;

// Adds a sequence holding one nested clip of each given sequence.
Uuid addHolder(Project& project, std::vector<Uuid> inner) {
  BrevSequence holder = BrevSequence::make("Holder");
  for (const Uuid& id : inner)
    mutTrack(holder, kV1).clips.push_back(Clip::make(ClipSource::nested(id), "N", 0, 10));
  project.sequences.push_back(holder);
  return holder.id;
}

TEST(Nesting, FindsLoopsThroughNestedSequences) {
  Project project = abcProject();
  const Uuid open = project.activeSequenceID;
  EXPECT_TRUE(nests(project, open, open));
  const Uuid middle = addHolder(project, {open});
  const Uuid top = addHolder(project, {Uuid::make(), middle});  // a missing sequence first
  EXPECT_TRUE(nests(project, top, open));  // two levels down
  EXPECT_FALSE(nests(project, open, top));

  // A chain deeper than 16 levels counts as no loop.
  std::vector<Uuid> chain{open};
  for (int level = 0; level < 17; ++level) chain.push_back(addHolder(project, {chain.back()}));
  EXPECT_FALSE(nests(project, chain.back(), open));
  EXPECT_TRUE(nests(project, chain.back(), chain[2]));
}

TEST(Nesting, NestsAAndBIntoOneLinkedClip) {
  Project project = abcProject();
  const BrevSequence& open = project.sequences[0];
  const auto id = nest(project, {idOf(open, "A"), idOf(open, "B"), idOf(open, "a"), idOf(open, "b")},
                       nextNestName(project));
  ASSERT_TRUE(id);
  const BrevSequence& outer = *project.activeSequence();
  const BrevSequence& inner = *project.sequence(*id);
  EXPECT_EQ(inner.name, "Nested 2");
  EXPECT_EQ(std::tuple(inner.duration(), named(inner, "B").start, named(inner, "b").start),
            std::tuple(200, 100, 100));
  for (const TrackRef ref : {kV1, kA1}) {
    const auto& clips = trackAt(outer, ref).clips;
    ASSERT_EQ(clips.size(), 2u);
    EXPECT_EQ(*clips[0].source.nestedID(), *id);
    EXPECT_EQ(std::tie(clips[0].start, clips[0].duration, clips[1].start), std::make_tuple(0, 200, 200));
  }
  EXPECT_TRUE(outer.video[0].clips[0].linkID);
  EXPECT_EQ(outer.video[0].clips[0].linkID, outer.audio[0].clips[0].linkID);
  EXPECT_FALSE(nest(project, {Uuid::make()}, "None"));
}

TEST(SplitEdit, JAndLCutsRollOnlyTheSound) {
  for (const auto& [jCut, cut] : {std::pair{true, 85}, std::pair{false, 115}}) {
    BrevSequence seq = abc();
    ASSERT_TRUE(splitEdit(seq, idOf(seq, "B"), kSplitEditFrames, jCut));
    EXPECT_EQ(std::tuple(named(seq, "a").end(), named(seq, "b").start, named(seq, "A").end(), named(seq, "B").start),
              std::tuple(cut, cut, 100, 100));
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
  EXPECT_EQ(std::tuple(pasted.transform->x, pasted.grade->exposure, pasted.audio->gainDB, pasted.speed.rate),
            std::tuple(40, 1, 0, 1));
  ASSERT_TRUE(pasteAttributes(seq, from, {b}, PasteGroups::speed));
  EXPECT_EQ(named(seq, "B").duration, 50);  // a speed change, rippled as setSpeed does
}

}  // namespace
}  // namespace brevelan
