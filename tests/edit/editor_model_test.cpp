#include "edit/editor_model.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "edit/editor_fakes.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

using namespace testing;

// On abcProject(): A stays the first clip of V1 throughout.
const Clip& clipA(const EditorModel& editor) { return editor.activeSequence()->video[0].clips[0]; }

void addMarker(EditorModel& editor, std::int64_t frame) {
  editor.editSeq("Add Marker", false, true,
                 [&](BrevSequence& seq) { seq.markers.push_back(Marker{Uuid::make(), frame, "M", 0}); });
}

bool expose(EditorRig& rig, const Uuid& id, const std::string& name, double value, bool coalesce = true) {
  return rig.editor->updateClip(id, name, coalesce, true, [&](Clip& clip) { clip.grade.mut().exposure = value; });
}

TEST(EditFunnel, AnEditThatChangesNothingIsInvisible) {
  EditorRig rig(abcProject());
  const auto generation = rig.editor->buildGeneration();
  EXPECT_FALSE(expose(rig, clipA(*rig.editor).id, "Exposure", 0));
  EXPECT_FALSE(expose(rig, Uuid::make(), "Exposure", 1));
  EXPECT_FALSE(rig.editor->history().canUndo());
  EXPECT_FALSE(rig.editor->state().dirty);
  EXPECT_EQ(rig.editor->buildGeneration(), generation);
}

TEST(EditFunnel, CoalescesSameNamedEditsLessThanASecondApart) {
  struct Case {
    const char* what;
    std::vector<std::string> names;
    double gap;  // seconds between edits
    bool coalesce;
    std::size_t steps;
  };
  const Case cases[] = {
      {"twenty slider changes", std::vector<std::string>(20, "Exposure"), 0.05, true, 1},
      {"a slow drag without a full pause", std::vector<std::string>(5, "Exposure"), 0.9, true, 1},
      {"a pause of a full second", {"Exposure", "Exposure"}, 1.0, true, 2},
      {"two controls alternately", {"Exposure", "Contrast", "Exposure"}, 0.05, true, 3},
      {"one-shot commands", {"Exposure", "Exposure"}, 0.05, false, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EditorRig rig(abcProject());
    for (std::size_t i = 0; i < c.names.size(); ++i) {
      if (i > 0) rig.scheduler->advance(c.gap);
      expose(rig, clipA(*rig.editor).id, c.names[i], 0.1 * static_cast<double>(i + 1), c.coalesce);
    }
    EXPECT_EQ(rig.editor->history().undoSteps().size(), c.steps);
    for (std::size_t i = 0; i < c.steps; ++i) rig.editor->undo();
    EXPECT_EQ(clipA(*rig.editor).grade->exposure, 0);
  }
}

TEST(EditFunnel, UndoAndRedoByNameAndANewEditDropsRedo) {
  const Project start = abcProject();
  EditorRig rig(start);
  const Uuid a = clipA(*rig.editor).id;
  EXPECT_FALSE(rig.editor->undo());
  EXPECT_EQ(rig.beeps, 1);

  const Clip added = Clip::make(ClipSource::color(RGBA::black()), "D", 300, 50);
  rig.editor->editSeq("Blade", false, true, [&](BrevSequence& seq) { seq.video.mut(0).clips.push_back(added); });
  const Project bladed = rig.editor->project();
  rig.editor->setSelection({a, added.id});
  ASSERT_TRUE(rig.editor->undo());
  EXPECT_EQ(rig.editor->project(), start);
  EXPECT_EQ(rig.editor->state().status, "Undo Blade");
  EXPECT_EQ(rig.editor->state().selection, std::set<Uuid>{a});
  ASSERT_TRUE(rig.editor->redo());
  EXPECT_EQ(rig.editor->project(), bladed);
  EXPECT_EQ(rig.editor->state().status, "Redo Blade");
  EXPECT_FALSE(rig.editor->redo());
  EXPECT_EQ(rig.beeps, 2);

  // A same-named edit right after an undo is a step of its own, and drops redo.
  expose(rig, a, "Exposure", 0.5);
  rig.editor->undo();
  expose(rig, a, "Exposure", 0.7);
  EXPECT_FALSE(rig.editor->history().canRedo());
  rig.editor->undo();
  EXPECT_EQ(rig.editor->project(), bladed);
}

TEST(EditFunnel, KeepsAThousandStepsOfHistory) {
  EditorRig rig;
  for (int i = 0; i < 1001; ++i) addMarker(*rig.editor, i);
  for (int i = 0; i < 1000; ++i) ASSERT_TRUE(rig.editor->undo());
  EXPECT_EQ(rig.editor->activeSequence()->markers.size(), 1u);
  EXPECT_FALSE(rig.editor->undo());
  EXPECT_EQ(rig.beeps, 1);
}

TEST(Drag, PreviewsFromTheStartAndRecordsOneStepOnlyWhenSomethingMoved) {
  const Project start = abcProject();
  EditorRig rig(start);
  auto drag = [&](std::vector<std::int64_t> moves) {
    rig.editor->beginDrag();
    for (std::int64_t by : moves)
      rig.editor->previewDrag([&](BrevSequence& seq) { seq.video.mut(0).clips.mut(0).start += by; });
  };

  drag({10, 20});
  EXPECT_EQ(clipA(*rig.editor).start, 20);
  EXPECT_TRUE(rig.editor->state().dragPreview);
  rig.editor->cancelDrag();
  EXPECT_EQ(rig.editor->project(), start);
  EXPECT_FALSE(rig.editor->state().dragPreview);

  drag({10, 0});
  EXPECT_FALSE(rig.editor->endDrag("Move"));
  EXPECT_FALSE(rig.editor->history().canUndo());
  EXPECT_FALSE(rig.editor->state().dirty);

  drag({5});
  EXPECT_TRUE(rig.editor->endDrag("Move"));
  EXPECT_EQ(rig.editor->state().status, "Move");
  EXPECT_EQ(rig.editor->history().undoSteps().size(), 1u);
}

TEST(Rebuild, RapidEditsCostOneBuildAndOneInstallThatKeepsPlaying) {
  EditorRig rig(abcProject());
  rig.settle();
  const std::size_t installs = rig.player->items.size();
  rig.editor->setPlayhead(42);
  rig.player->playing = 2;
  for (int i = 0; i < 10; ++i) {
    addMarker(*rig.editor, i);
    rig.scheduler->advance(0.01);
  }
  rig.scheduler->advance(0.15);
  ASSERT_EQ(rig.builder->pending.size(), 1u);
  EXPECT_EQ(rig.builder->pending[0].first.sequence.markers.size(), 10u);
  rig.settle();
  EXPECT_EQ(rig.player->items.size(), installs + 1);
  EXPECT_EQ(rig.player->seeks.back(), 42);
  EXPECT_EQ(rig.player->rates, std::vector<float>{2});

  // A sound-only edit updates the mix and keeps the item.
  const auto generation = rig.editor->buildGeneration();
  rig.editor->editSeq("Mute", false, false, [](BrevSequence& seq) { seq.audio.mut(0).muted = true; });
  EXPECT_EQ(rig.player->mixUpdates, 1);
  EXPECT_EQ(rig.editor->buildGeneration(), generation);
  rig.settle();
  EXPECT_EQ(rig.player->items.size(), installs + 1);
}

TEST(Rebuild, AStaleBuildIsNeverInstalled) {
  for (bool newerFirst : {true, false}) {
    SCOPED_TRACE(newerFirst ? "newer finishes first" : "older finishes first");
    EditorRig rig;
    rig.settle();
    rig.player->items.clear();
    addMarker(*rig.editor, 1);
    rig.scheduler->advance(0.2);
    addMarker(*rig.editor, 2);
    rig.scheduler->advance(0.2);
    ASSERT_EQ(rig.builder->pending.size(), 2u);
    rig.builder->finish(newerFirst ? 1 : 0);
    rig.builder->finish(newerFirst ? 0 : 1);
    ASSERT_EQ(rig.player->items.size(), 1u);
    const auto* installed = dynamic_cast<const FakeBuild*>(rig.editor->currentBuild().get());
    ASSERT_TRUE(installed);
    EXPECT_EQ(installed->request.sequence.markers.size(), 2u);
  }
}

TEST(Clipboard, PastingALinkedPairTwiceGivesTwoIndependentPairs) {
  EditorRig rig(abcProject());
  const Clip a = clipA(*rig.editor);
  const Uuid aSound = idOf(*rig.editor->activeSequence(), "a");
  rig.editor->select(a.id, false);
  EXPECT_EQ(rig.editor->state().selection, (std::set<Uuid>{a.id, aSound}));
  rig.editor->copySelection();
  EXPECT_EQ(rig.editor->state().status, "Copied 2 clips");
  for (std::int64_t at : {150, 400}) {
    rig.editor->setPlayhead(at);
    ASSERT_TRUE(rig.editor->paste());
  }
  EXPECT_EQ(rig.editor->history().undoSteps().back().name, "Paste");

  // A, B cut at 150, the first copy, C's last 50 frames, the second copy.
  const BrevSequence& seq = *rig.editor->activeSequence();
  ASSERT_EQ(seq.video[0].clips.size(), 5u);
  ASSERT_EQ(seq.audio[0].clips.size(), 5u);
  std::set<Uuid> ids{a.id, aSound}, links{*a.linkID};
  for (std::size_t i : {2u, 4u}) {
    const Clip& picture = seq.video[0].clips[i];
    const Clip& sound = seq.audio[0].clips[i];
    EXPECT_EQ(std::tuple(picture.start, sound.start, picture.linkID),
              std::tuple(i == 2 ? 150 : 400, picture.start, sound.linkID));
    ids.insert({picture.id, sound.id});
    links.insert(*picture.linkID);
  }
  EXPECT_EQ(std::pair(ids.size(), links.size()), std::pair(std::size_t{6}, std::size_t{3}));  // all new
}

TEST(Files, SaveOpenAndTheirFailures) {
  TempDir dir;
  EditorRig rig(abcProject());
  addMarker(*rig.editor, 5);

  EXPECT_FALSE(rig.editor->saveTo(dir / "no such folder" / "p.brevelan"));
  EXPECT_EQ(rig.editor->state().alert->title, "Could not save");
  EXPECT_FALSE(rig.editor->state().fileURL);
  EXPECT_FALSE(rig.editor->save([] { return std::nullopt; }).value());
  EXPECT_TRUE(rig.editor->state().dirty);
  const auto file = dir / "p.brevelan";
  EXPECT_TRUE(rig.editor->save([&] { return file; }).value());
  EXPECT_EQ(rig.editor->state().fileURL, file);
  EXPECT_FALSE(rig.editor->state().dirty);

  const Project saved = rig.editor->project();
  EXPECT_FALSE(rig.editor->open(dir / "missing.brevelan"));
  EXPECT_EQ(rig.editor->state().alert->title, "Could not open the project");
  EXPECT_EQ(rig.editor->project(), saved);
  ASSERT_TRUE(rig.editor->open(file));
  EXPECT_EQ(rig.editor->state().status, "1 media file(s) are missing — use Media ▸ Relink");
  EXPECT_FALSE(rig.editor->history().canUndo());
  EXPECT_EQ(rig.editor->activeSequence()->markers.size(), 1u);
}

}  // namespace
}  // namespace brevelan
