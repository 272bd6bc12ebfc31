#include "edit/editor_model.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "edit/editor_fakes.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

using testing::EditorRig;
using testing::FakeBuild;
using testing::TempDir;

// V1: picture A 0..100 and B 100..200; A1: A's sound 0..100, linked to A.
struct Sample {
  Project project = Project::make();
  Uuid a, b, sound;

  Sample() {
    BrevSequence& seq = *project.mutableActiveSequence();
    Clip picture = Clip::make(ClipSource::color(RGBA::white()), "A", 0, 100);
    Clip next = Clip::make(ClipSource::color(RGBA::black()), "B", 100, 100);
    Clip audio = Clip::make(ClipSource::color(RGBA::white()), "A sound", 0, 100);
    picture.linkID = audio.linkID = Uuid::make();
    a = picture.id, b = next.id, sound = audio.id;
    seq.video.mut(0).clips = {picture, next};
    seq.audio.mut(0).clips = {audio};
  }
};

// A stays the first clip of V1 throughout.
const Clip& clipA(const EditorModel& editor) { return editor.activeSequence()->video[0].clips[0]; }

void addMarker(EditorModel& editor, std::int64_t frame) {
  editor.editSeq("Add Marker", false, true,
                 [&](BrevSequence& seq) { seq.markers.push_back(Marker{Uuid::make(), frame, "M", 0}); });
}

TEST(EditFunnel, AnEditThatChangesNothingIsInvisible) {
  Sample s;
  EditorRig rig(s.project);
  const auto generation = rig.editor->buildGeneration();
  EXPECT_FALSE(rig.editor->updateClip(s.a, "Exposure", true, true, [](Clip& clip) { clip.grade.mut().exposure = 0; }));
  EXPECT_FALSE(rig.editor->updateClip(Uuid::make(), "Exposure", true, true, [](Clip& c) { c.grade.mut().exposure = 1; }));
  EXPECT_FALSE(rig.editor->history().canUndo());
  EXPECT_FALSE(rig.editor->state().dirty);
  EXPECT_EQ(rig.editor->state().status, "Ready");
  EXPECT_EQ(rig.editor->buildGeneration(), generation);
}

TEST(EditFunnel, CoalescesSameNamedEditsLessThanASecondApart) {
  struct Case {
    const char* what;
    std::vector<std::string> names;
    double gap;           // seconds between edits
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
    Sample s;
    EditorRig rig(s.project);
    for (std::size_t i = 0; i < c.names.size(); ++i) {
      if (i > 0) rig.scheduler->advance(c.gap);
      rig.editor->updateClip(s.a, c.names[i], c.coalesce, true, [&](Clip& clip) { clip.grade.mut().exposure += 0.1; });
    }
    EXPECT_EQ(rig.editor->history().undoSteps().size(), c.steps);
    for (std::size_t i = 0; i < c.steps; ++i) rig.editor->undo();
    EXPECT_EQ(clipA(*rig.editor).grade->exposure, 0);
  }
}

TEST(EditFunnel, AnEditRightAfterUndoStartsANewStepAndDropsRedo) {
  Sample s;
  EditorRig rig(s.project);
  rig.editor->updateClip(s.a, "Exposure", true, true, [](Clip& clip) { clip.grade.mut().exposure = 0.5; });
  rig.editor->undo();
  rig.editor->updateClip(s.a, "Exposure", true, true, [](Clip& clip) { clip.grade.mut().exposure = 0.7; });
  EXPECT_FALSE(rig.editor->history().canRedo());
  rig.editor->undo();
  EXPECT_EQ(clipA(*rig.editor).grade->exposure, 0);
}

TEST(EditFunnel, UndoAndRedoRestoreStatesAndReportByName) {
  Sample s;
  EditorRig rig(s.project);
  rig.editor->undo();
  EXPECT_EQ(rig.beeps, 1);
  EXPECT_EQ(rig.editor->project(), s.project);
  EXPECT_EQ(rig.editor->state().status, "Ready");

  const Clip added = Clip::make(ClipSource::color(RGBA::black()), "C", 200, 50);
  rig.editor->editSeq("Blade", false, true, [&](BrevSequence& seq) { seq.video.mut(0).clips.push_back(added); });
  const Project bladed = rig.editor->project();
  rig.editor->setSelection({s.a, added.id});

  ASSERT_TRUE(rig.editor->undo());
  EXPECT_EQ(rig.editor->project(), s.project);
  EXPECT_EQ(rig.editor->state().status, "Undo Blade");
  EXPECT_EQ(rig.editor->state().selection, std::set<Uuid>{s.a});
  ASSERT_TRUE(rig.editor->redo());
  EXPECT_EQ(rig.editor->project(), bladed);
  EXPECT_EQ(rig.editor->state().status, "Redo Blade");
  EXPECT_FALSE(rig.editor->redo());
  EXPECT_EQ(rig.beeps, 2);
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
  Sample s;
  EditorRig rig(s.project);
  auto moveA = [&](std::int64_t by) {
    rig.editor->previewDrag([&](BrevSequence& seq) { seq.video.mut(0).clips.mut(0).start += by; });
  };

  rig.editor->beginDrag();
  moveA(10);
  moveA(20);
  EXPECT_EQ(clipA(*rig.editor).start, 20);
  EXPECT_TRUE(rig.editor->state().dragPreview);
  rig.editor->cancelDrag();
  EXPECT_EQ(rig.editor->project(), s.project);
  EXPECT_FALSE(rig.editor->state().dragPreview);

  rig.editor->beginDrag();
  moveA(10);
  moveA(0);
  EXPECT_FALSE(rig.editor->endDrag("Move"));
  EXPECT_FALSE(rig.editor->history().canUndo());
  EXPECT_FALSE(rig.editor->state().dirty);

  rig.editor->beginDrag();
  moveA(5);
  EXPECT_TRUE(rig.editor->endDrag("Move"));
  EXPECT_EQ(rig.editor->state().status, "Move");
  EXPECT_TRUE(rig.editor->state().dirty);
  rig.editor->undo();
  EXPECT_EQ(rig.editor->project(), s.project);
}

TEST(Rebuild, RapidEditsCostOneBuildAndOneInstall) {
  EditorRig rig;
  rig.settle();
  const std::size_t installs = rig.player->items.size();
  const auto generation = rig.editor->buildGeneration();
  for (int i = 0; i < 10; ++i) {
    addMarker(*rig.editor, i);
    rig.scheduler->advance(0.01);
  }
  EXPECT_EQ(rig.editor->buildGeneration(), generation + 10);
  rig.scheduler->advance(0.15);
  ASSERT_EQ(rig.builder->pending.size(), 1u);
  EXPECT_EQ(rig.builder->pending[0].first.sequence.markers.size(), 10u);
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

TEST(Rebuild, InstallKeepsPlayingAndSoundOnlyEditsKeepTheItem) {
  Sample s;
  EditorRig rig(s.project);
  rig.settle();
  rig.editor->setPlayhead(42);
  rig.player->playing = 2;
  addMarker(*rig.editor, 1);
  rig.settle();
  EXPECT_EQ(rig.player->seeks.back(), 42);
  EXPECT_EQ(rig.player->rates, std::vector<float>{2});

  const std::size_t items = rig.player->items.size();
  const auto generation = rig.editor->buildGeneration();
  rig.editor->editSeq("Mute", false, false, [](BrevSequence& seq) { seq.audio.mut(0).muted = true; });
  EXPECT_EQ(rig.player->mixUpdates, 1);
  EXPECT_EQ(rig.editor->buildGeneration(), generation);
  rig.settle();
  EXPECT_EQ(rig.player->items.size(), items);
}

TEST(Clipboard, PastingALinkedPairTwiceGivesTwoIndependentPairs) {
  Sample s;
  EditorRig rig(s.project);
  rig.editor->select(s.a, false);
  EXPECT_EQ(rig.editor->state().selection, (std::set<Uuid>{s.a, s.sound}));
  rig.editor->copySelection();
  EXPECT_EQ(rig.editor->state().status, "Copied 2 clips");

  rig.editor->setPlayhead(150);
  ASSERT_TRUE(rig.editor->paste());
  rig.editor->setPlayhead(300);
  ASSERT_TRUE(rig.editor->paste());
  EXPECT_EQ(rig.editor->history().undoSteps().size(), 2u);
  EXPECT_EQ(rig.editor->history().undoSteps().back().name, "Paste");

  const BrevSequence& seq = *rig.editor->activeSequence();
  // B 100..200 was overwritten from 150: its head stays, its tail is replaced.
  ASSERT_EQ(seq.video[0].clips.size(), 4u);
  ASSERT_EQ(seq.audio[0].clips.size(), 3u);
  EXPECT_EQ(seq.video[0].clips[1].id, s.b);
  EXPECT_EQ(seq.video[0].clips[1].end(), 150);
  std::set<Uuid> ids, links;
  for (std::size_t i : {2u, 3u}) {
    const Clip& picture = seq.video[0].clips[i];
    const Clip& sound = seq.audio[0].clips[i - 1];
    EXPECT_EQ(picture.start, i == 2 ? 150 : 300);
    EXPECT_EQ(sound.start, picture.start);
    EXPECT_EQ(picture.linkID, sound.linkID);
    EXPECT_NE(picture.linkID, seq.video[0].clips[0].linkID);
    ids.insert({picture.id, sound.id});
    links.insert(*picture.linkID);
  }
  EXPECT_EQ(ids.size(), 4u);
  EXPECT_FALSE(ids.contains(s.a) || ids.contains(s.sound));
  EXPECT_EQ(links.size(), 2u);

  BrevSequence unchanged = seq;
  placeOverwriting(unchanged, {{TrackRef{TrackKind::audio, 5}, seq.audio[0].clips[0]}}, 0);
  EXPECT_EQ(unchanged, seq);  // no such track: left out
}

TEST(Files, SaveOpenAndTheirFailures) {
  TempDir dir;
  Sample s;
  MediaItem lost;
  lost.id = Uuid::make();
  lost.path = (dir / "lost.mov").string();
  s.project.media.push_back(lost);
  EditorRig rig(s.project);
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
  EXPECT_EQ(rig.recovery->discarded, std::vector<Uuid>{s.project.id});

  const Project saved = rig.editor->project();
  EXPECT_FALSE(rig.editor->open(dir / "missing.brevelan"));
  EXPECT_EQ(rig.editor->state().alert->title, "Could not open the project");
  EXPECT_EQ(rig.editor->project(), saved);

  ASSERT_TRUE(rig.editor->open(file));
  EXPECT_EQ(rig.editor->state().status, "1 media file(s) are missing — use Media ▸ Relink");
  EXPECT_FALSE(rig.editor->history().canUndo());
  EXPECT_FALSE(rig.editor->state().dirty);
  EXPECT_EQ(rig.editor->activeSequence()->markers.size(), 1u);
}

TEST(Files, AutosaveWritesOnlyWhileDirty) {
  EditorRig rig;
  rig.editor->startAutosave(30);
  rig.scheduler->advance(31);
  EXPECT_TRUE(rig.recovery->written.empty());
  addMarker(*rig.editor, 1);
  rig.scheduler->advance(30);
  EXPECT_EQ(rig.recovery->written.size(), 1u);
  rig.editor->stopAutosave();
  rig.scheduler->advance(60);
  EXPECT_EQ(rig.recovery->written.size(), 1u);
}

}  // namespace
}  // namespace brevelan
