#include "edit/three_point.h"

#include <gtest/gtest.h>

#include "editor_fakes.h"

namespace brevelan {
namespace {

using std::nullopt;

// 10 seconds with sound: 300 frames at 30 fps.
MediaItem movie() { return testing::abcProject().media[0]; }

TEST(ThreePoint, MarksDecideWhereAndWhat) {
  struct Case {
    const char* what;
    SourceEditMarks marks;
    std::int64_t at, sourceIn, length;
  };
  const Case cases[] = {
      {"source range at the playhead", {10, 40, nullopt, nullopt, 150}, 150, 10, 30},
      {"only source In: to the end", {280, nullopt, nullopt, nullopt, 0}, 0, 280, 20},
      {"only source Out: from 0", {nullopt, 30, nullopt, nullopt, 0}, 0, 0, 30},
      {"no marks: the whole source", {}, 0, 0, 300},
      {"timeline In wins over the playhead", {0, 30, 60, nullopt, 150}, 60, 0, 30},
      {"both timeline marks cut the length", {0, 30, 100, 110, 0}, 100, 0, 10},
      {"a longer timeline range keeps the source length", {0, 30, 100, 200, 0}, 100, 0, 30},
      {"back-timed from timeline Out", {0, 30, nullopt, 100, 0}, 70, 0, 30},
      {"back-timing never starts before 0", {0, 30, nullopt, 20, 0}, 0, 0, 30},
      {"an In past the end keeps one frame", {500, nullopt, nullopt, nullopt, 0}, 0, 299, 1},
      {"an empty source range is one frame", {40, 40, nullopt, nullopt, 0}, 0, 40, 1},
  };
  const BrevSequence seq = BrevSequence::make("S");
  for (const Case& c : cases) {
    const auto edit = threePointClips(seq, movie(), c.marks);
    ASSERT_TRUE(edit) << c.what;
    EXPECT_EQ(std::tie(edit->at, edit->sourceIn, edit->length), std::tie(c.at, c.sourceIn, c.length)) << c.what;
  }
  EXPECT_FALSE(threePointClips(seq, movie(), {0, 30, 110, 100, 0}));  // timeline range backwards
}

TEST(ThreePoint, PictureAndSoundGoLinkedToTheTargets) {
  const BrevSequence seq = BrevSequence::make("S");
  SourceEditMarks marks{0, 30, nullopt, nullopt, 0, 1, 1};
  auto edit = threePointClips(seq, movie(), marks);
  ASSERT_EQ(edit->items.size(), 2u);
  EXPECT_EQ(std::pair(edit->items[0].track, edit->items[1].track),
            std::pair(TrackRef{TrackKind::video, 1}, TrackRef{TrackKind::audio, 1}));
  EXPECT_TRUE(edit->items[0].clip.linkID && edit->items[0].clip.linkID == edit->items[1].clip.linkID);
  EXPECT_EQ(edit->items[0].clip.sourceLimit, 300);

  marks.targetAudio = 7;  // no such track: picture alone, unlinked
  edit = threePointClips(seq, movie(), marks);
  ASSERT_EQ(edit->items.size(), 1u);
  EXPECT_FALSE(edit->items[0].clip.linkID);

  MediaItem still = movie();
  still.kind = MediaKind::image;
  still.duration = 0;
  edit = threePointClips(seq, still, {});
  ASSERT_EQ(edit->items.size(), 1u);
  EXPECT_EQ(edit->items[0].clip.duration, 150);  // 5 seconds at 30 fps
  EXPECT_FALSE(edit->items[0].clip.sourceLimit);
}

}  // namespace
}  // namespace brevelan
