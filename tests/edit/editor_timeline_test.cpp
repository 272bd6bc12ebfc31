#include <gtest/gtest.h>

#include "edit/editor_fakes.h"

namespace brevelan {
namespace {

using testing::abcProject;
using testing::EditorRig;
using testing::kA1;
using testing::kV1;

constexpr TrackRef kV2{TrackKind::video, 1};
constexpr TrackRef kA2{TrackKind::audio, 1};

TEST(EditorTimeline, MuteAndSoloRefreshOnlyTheMixWhileLockRebuilds) {
  EditorRig rig(abcProject());
  EditorModel& editor = *rig.editor;
  editor.scheduleRebuild(0);
  rig.settle();

  struct Case {
    bool (EditorModel::*set)(TrackRef, bool);
    bool Track::*field;
    const char* name;
    bool rebuilds;
  };
  for (const Case c : {Case{&EditorModel::setTrackMuted, &Track::muted, "Mute", false},
                       Case{&EditorModel::setTrackSolo, &Track::solo, "Solo", false},
                       Case{&EditorModel::setTrackLocked, &Track::locked, "Lock", true}}) {
    SCOPED_TRACE(c.name);
    const std::uint64_t generation = editor.buildGeneration();
    const int mixes = rig.player->mixUpdates;
    ASSERT_TRUE((editor.*c.set)(kA2, true));
    EXPECT_TRUE(trackAt(*editor.activeSequence(), kA2).*c.field);
    EXPECT_EQ(editor.history().undoSteps().back().name, c.name);
    EXPECT_EQ(editor.buildGeneration() != generation, c.rebuilds);
    EXPECT_EQ(rig.player->mixUpdates - mixes, c.rebuilds ? 0 : 1);
    EXPECT_FALSE((editor.*c.set)(kA2, true)) << "no change, no step";
    EXPECT_FALSE((editor.*c.set)({TrackKind::audio, 9}, true));
    rig.settle();
  }
}

TEST(EditorTimeline, DroppedMediaAreOverwrittenEndToEndWithTheirSoundOnTheMatchingTrack) {
  Project project = abcProject();
  MediaItem song;
  song.id = Uuid::make();
  song.name = "song.wav";
  song.kind = MediaKind::audio;
  song.duration = 2;
  song.hasAudio = true;
  MediaItem still;
  still.id = Uuid::make();
  still.name = "still.png";
  still.kind = MediaKind::image;
  still.hasVideo = true;
  project.media.push_back(song);
  project.media.push_back(still);
  const Uuid movie = project.media[0].id;
  EditorRig rig(project);
  EditorModel& editor = *rig.editor;

  // The movie (300 frames) over B and C on V2's partner A2, then the still and the song after it.
  ASSERT_TRUE(editor.dropMedia({movie, still.id, song.id}, kV2, 150));
  const BrevSequence& seq = *editor.activeSequence();
  const auto& v2 = trackAt(seq, kV2).clips;
  const auto& a2 = trackAt(seq, kA2).clips;
  ASSERT_EQ(v2.size(), 2u);
  ASSERT_EQ(a2.size(), 2u);
  EXPECT_EQ(v2[0].start, 150);
  EXPECT_EQ(v2[0].duration, 300);
  EXPECT_EQ(v2[1].name, "still.png");
  EXPECT_EQ(v2[1].start, 450);
  EXPECT_EQ(v2[1].duration, 150) << "a still is five seconds";
  EXPECT_EQ(a2[0].linkID, v2[0].linkID);
  EXPECT_EQ(a2[1].name, "song.wav");
  EXPECT_EQ(a2[1].start, 600);
  EXPECT_EQ(trackAt(seq, kV1).clips.size(), 3u) << "other tracks are untouched";
  EXPECT_EQ(editor.state().selection.size(), 4u);
  EXPECT_EQ(editor.history().undoSteps().size(), 1u);
  EXPECT_EQ(editor.history().undoSteps().back().name, "Overwrite");

  // Dropped on a sound track, the picture goes to the video track of its number.
  ASSERT_TRUE(editor.dropMedia({movie}, kA1, 0));
  EXPECT_EQ(trackAt(*editor.activeSequence(), kV1).clips[0].duration, 300);
  EXPECT_EQ(trackAt(*editor.activeSequence(), kA1).clips[0].duration, 300);

  EXPECT_FALSE(editor.dropMedia({Uuid::make()}, kV1, 0)) << "unknown media";
  EXPECT_FALSE(editor.dropMedia({movie}, {TrackKind::video, 7}, 0));
}

}  // namespace
}  // namespace brevelan
