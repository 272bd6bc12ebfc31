#include <gtest/gtest.h>

#include <functional>

#include "edit/editor_fakes.h"
#include "edit/editor_model.h"
#include "timeline_fixture.h"

namespace brevelan {
namespace {

using namespace testing;

// abc() as the open sequence, and a 10-second movie with sound in the bin.
struct Document {
  Project project = Project::make();
  Uuid movie = Uuid::make();

  Document() {
    BrevSequence seq = abc();
    project.activeSequenceID = seq.id;
    project.sequences = {seq};
    MediaItem item;
    item.id = movie;
    item.name = "clip.mov";
    item.duration = 10;
    item.hasVideo = item.hasAudio = true;
    project.media = {item};
  }
};

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
       [](EditorRig& r) {
         const Project& p = r.editor->project();
         return r.editor->nestIn(p.sequences[p.sequences.size() - 1].id);  // "Outer", through "Middle"
       }},
      {"J-Cut", "Select the video clip AFTER the cut, then choose J-Cut or L-Cut.",
       [](EditorRig& r) { return r.editor->splitEdit(true); }},
      {"Paste Attributes", "Select a clip and choose Edit ▸ Copy first.",
       [](EditorRig& r) { return r.editor->pasteAttributes(); }},
  };
  // "Outer" holds "Middle", which holds the open sequence.
  Document document;
  BrevSequence middle = BrevSequence::make("Middle");
  BrevSequence outer = BrevSequence::make("Outer");
  mutTrack(middle, kV1).clips.push_back(Clip::make(ClipSource::nested(document.project.activeSequenceID), "in", 0, 300));
  mutTrack(outer, kV1).clips.push_back(Clip::make(ClipSource::nested(middle.id), "in", 0, 300));
  document.project.sequences.push_back(middle);
  document.project.sequences.push_back(outer);
  for (const Case& c : cases) {
    EditorRig rig(document.project);
    EXPECT_FALSE(c.run(rig)) << c.title;
    ASSERT_TRUE(rig.editor->state().alert) << c.title;
    EXPECT_EQ(rig.editor->state().alert->title, c.title);
    EXPECT_EQ(rig.editor->state().alert->message, c.message);
    EXPECT_EQ(rig.editor->project(), document.project);
    EXPECT_FALSE(rig.editor->history().canUndo());
  }
}

TEST(EditorCommands, SourceEditsAndFreezeFrameMoveThingsAndThePlayhead) {
  EditorRig rig(Document().project);
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
  EditorRig rig(Document().project);
  rig.editor->addMarker(40, "beat");
  const Project marked = rig.editor->project();
  rig.editor->gotoEdit(true);
  EXPECT_EQ(rig.editor->state().playhead, 40);
  rig.editor->gotoEdit(true);
  EXPECT_EQ(rig.editor->state().playhead, 100);
  rig.editor->gotoEdit(false);
  EXPECT_EQ(rig.editor->state().playhead, 40);

  rig.editor->setMarkIn(150);
  rig.editor->setMarkOut(50);
  EXPECT_FALSE(rig.editor->deleteSelection(true));
  EXPECT_FALSE(rig.editor->addTransition(idOf(open(rig), "A"), Transition{}));  // no cut at A's head
  EXPECT_EQ(rig.editor->project(), marked);
  EXPECT_EQ(rig.editor->history().undoSteps().size(), 1u);
}

}  // namespace
}  // namespace brevelan
