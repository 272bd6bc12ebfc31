#include <gtest/gtest.h>

#include <functional>

#include "editor_fakes.h"

namespace brevelan {
namespace {

using namespace testing;

const BrevSequence& open(const EditorRig& rig) { return *rig.editor->activeSequence(); }

TEST(EditorCommands, RefusalsRaiseTheirAlertAndRecordNothing) {
  struct Case {
    const char* title;
    const char* message;
    std::function<bool(EditorRig&)> run;
  };
  const Case cases[] = {
      {"Nothing to edit in",
       "Double-click a clip in the Media Bin to open it in the Source viewer, then mark In (I) and Out (O).",
       [](EditorRig& r) { return r.editor->insertEdit(); }},
      {"Can't nest", "A sequence can't be put inside itself.",
       [](EditorRig& r) { return r.editor->nestIn(open(r).id); }},
      {"Can't nest", "A sequence can't be put inside itself.",
       [](EditorRig& r) { return r.editor->nestIn(r.editor->project().sequences[2].id); }},  // through "Middle"
      {"J-Cut", "Select the video clip AFTER the cut, then choose J-Cut or L-Cut.",
       [](EditorRig& r) { return r.editor->splitEdit(true); }},
      {"Paste Attributes", "Select a clip and choose Edit ▸ Copy first.",
       [](EditorRig& r) { return r.editor->pasteAttributes(); }},
  };
  // "Outer" holds "Middle", which holds the open sequence.
  Project project = abcProject();
  BrevSequence middle = BrevSequence::make("Middle");
  BrevSequence outer = BrevSequence::make("Outer");
  mutTrack(middle, kV1).clips.push_back(Clip::make(ClipSource::nested(project.activeSequenceID), "in", 0, 300));
  mutTrack(outer, kV1).clips.push_back(Clip::make(ClipSource::nested(middle.id), "in", 0, 300));
  project.sequences.push_back(middle);
  project.sequences.push_back(outer);
  for (const Case& c : cases) {
    EditorRig rig(project);
    EXPECT_FALSE(c.run(rig)) << c.title;
    ASSERT_TRUE(rig.editor->state().alert) << c.title;
    EXPECT_EQ(rig.editor->state().alert->title, c.title);
    EXPECT_EQ(rig.editor->state().alert->message, c.message);
    EXPECT_EQ(rig.editor->project(), project);
    EXPECT_FALSE(rig.editor->history().canUndo());
  }
}

TEST(EditorCommands, SourceEditsAndFreezeFrameMoveThingsAndThePlayhead) {
  EditorRig rig(abcProject());
  rig.editor->setSourceMediaID(rig.editor->project().media[0].id);
  rig.editor->setSourceIn(0);
  rig.editor->setSourceOut(30);
  ASSERT_TRUE(rig.editor->appendEdit());
  EXPECT_EQ(named(open(rig), "clip.mov").start, 300);
  EXPECT_EQ(rig.editor->state().playhead, 330);

  rig.editor->setPlayhead(150);
  ASSERT_TRUE(rig.editor->freezeFrame());
  EXPECT_EQ(rig.editor->state().status, "Freeze Frame");
  const Clip& still = open(rig).video[0].clips[2];
  EXPECT_EQ(std::tie(still.start, still.duration, still.sourceIn), std::make_tuple(150, 60, 100));
  EXPECT_TRUE(still.speed.freeze);
  EXPECT_EQ(named(open(rig), "c").start, 260);  // inserted: the sound keeps sync

  rig.editor->setMarkIn(0);
  rig.editor->setMarkOut(10);
  rig.editor->setSelection({idOf(open(rig), "C")});
  ASSERT_TRUE(rig.editor->deleteSelection(false));  // the selection goes first, the marks stay
  EXPECT_EQ(rig.editor->state().status, "Delete");
  EXPECT_TRUE(rig.editor->state().selection.empty());
  ASSERT_TRUE(rig.editor->deleteSelection(true));
  EXPECT_EQ(rig.editor->state().status, "Extract");
  EXPECT_EQ(rig.editor->history().undoSteps().size(), 4u);
}

TEST(EditorCommands, TransportAndRefusedRangesRecordNothing) {
  EditorRig rig(abcProject());
  rig.editor->addMarker(40, "beat");
  const Project marked = rig.editor->project();
  std::vector<std::int64_t> stops;
  for (bool forward : {true, true, false}) {
    rig.editor->gotoEdit(forward);
    stops.push_back(rig.editor->state().playhead);
  }
  EXPECT_EQ(stops, (std::vector<std::int64_t>{40, 100, 40}));

  rig.editor->setMarkIn(150);
  rig.editor->setMarkOut(50);
  EXPECT_FALSE(rig.editor->deleteSelection(true));
  EXPECT_FALSE(rig.editor->addTransition(idOf(open(rig), "A"), Transition{}));  // no cut at A's head
  EXPECT_EQ(rig.editor->project(), marked);
  EXPECT_EQ(rig.editor->history().undoSteps().size(), 1u);
}

}  // namespace
}  // namespace brevelan
