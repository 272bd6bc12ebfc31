#include "app/playback/source_preview.h"

#include <gtest/gtest.h>

namespace brevelan {
namespace {

MediaItem item(MediaKind kind, bool video, bool audio, double fps, std::int64_t width, std::int64_t height) {
  MediaItem media;
  media.id = Uuid::make();
  media.name = "item";
  media.kind = kind;
  media.path = "/media/item";
  media.duration = kind == MediaKind::image ? 0 : 4;
  media.width = width;
  media.height = height;
  media.nominalFPS = fps;
  media.hasVideo = video;
  media.hasAudio = audio;
  return media;
}

TEST(SourcePreview, FrameRateOfAnItem) {
  struct Case {
    double fps;
    FrameRate rate;
  };
  for (const Case& c : {Case{29.97002997, {30000, 1001}}, Case{23.976, {24000, 1001}}, Case{25, {25, 1}},
                        Case{12.5, {25, 2}}, Case{0, {30, 1}}, Case{-5, {30, 1}}}) {
    SCOPED_TRACE(c.fps);
    MediaItem media = item(MediaKind::video, true, false, c.fps, 640, 360);
    EXPECT_EQ(mediaFrameRate(media), c.rate);
  }
}

TEST(SourcePreview, OneClipPerKindOfContent) {
  struct Case {
    const char* name;
    MediaItem media;
    bool picture, sound;
    std::int64_t width, height, length;
  };
  const Case cases[] = {
      {"movie", item(MediaKind::video, true, true, 25, 1280, 720), true, true, 1280, 720, 100},
      {"silent movie", item(MediaKind::video, true, false, 30, 640, 480), true, false, 640, 480, 120},
      {"sound", item(MediaKind::audio, false, true, 0, 0, 0), false, true, 1920, 1080, 120},
      {"still", item(MediaKind::image, false, false, 0, 800, 600), true, false, 800, 600, 150},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const BrevSequence seq = sourcePreview(c.media);
    EXPECT_EQ(seq.width, c.width);
    EXPECT_EQ(seq.height, c.height);
    EXPECT_EQ(seq.duration(), c.length);
    ASSERT_FALSE(seq.video.empty());
    ASSERT_FALSE(seq.audio.empty());
    EXPECT_EQ(seq.video[0].clips.size(), c.picture ? 1u : 0u);
    EXPECT_EQ(seq.audio[0].clips.size(), c.sound ? 1u : 0u);
    for (const Track* track : {&seq.video[0], &seq.audio[0]})
      for (const Clip& clip : track->clips) {
        EXPECT_EQ(clip.source, ClipSource::media(c.media.id));
        EXPECT_EQ(clip.start, 0);
        EXPECT_EQ(clip.sourceIn, 0);
      }
    if (c.picture && c.sound) {
      EXPECT_TRUE(seq.video[0].clips[0].linkID.has_value());
      EXPECT_EQ(seq.video[0].clips[0].linkID, seq.audio[0].clips[0].linkID);
    }
  }
}

}  // namespace
}  // namespace brevelan
