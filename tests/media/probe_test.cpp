#include <gtest/gtest.h>

#include "media/media_probe.h"
#include "media/media_writer.h"
#include "model/file_names.h"
#include "media_fixture.h"

namespace brevelan {
namespace {

using testing::testMedia;

struct GoodCase {
  std::filesystem::path file;
  MediaKind kind;
  std::int64_t width, height;
  bool hasVideo, hasAudio;
  double duration, fps;
};

TEST(MediaProbe, ReadsEveryKind) {
  auto& media = testMedia();
  const GoodCase cases[] = {
      {media.seek, MediaKind::video, 320, 180, true, false, 3.0, 30},
      {media.sound, MediaKind::video, 320, 180, true, true, 1.0, 30},
      {media.upperCase, MediaKind::video, 320, 180, true, true, 1.0, 30},  // clip.MOV
      {media.rotated, MediaKind::video, 180, 320, true, false, 0.5, 30},   // stored 320 × 180, turned 90°
      {media.uhd, MediaKind::video, 3840, 2160, true, false, 0.1, 30},
      {media.mono, MediaKind::audio, 0, 0, false, true, 2.0, 0},
      {media.stereo, MediaKind::audio, 0, 0, false, true, 1.0, 0},
      {media.still, MediaKind::image, 200, 100, true, false, 0.0, 0},
  };
  const MediaProbe probe;
  for (const GoodCase& c : cases) {
    SCOPED_TRACE(c.file.filename().string());
    auto item = probe.probe(c.file);
    ASSERT_TRUE(item.ok()) << item.error().message;
    EXPECT_EQ(item->kind, c.kind);
    EXPECT_EQ(item->name, c.file.stem().string());
    EXPECT_EQ(item->path, c.file.string());
    EXPECT_EQ(item->width, c.width);
    EXPECT_EQ(item->height, c.height);
    EXPECT_EQ(item->hasVideo, c.hasVideo);
    EXPECT_EQ(item->hasAudio, c.hasAudio);
    // AAC adds a few milliseconds of padding to a movie's sound.
    EXPECT_NEAR(item->duration, c.duration, 0.03);
    EXPECT_NEAR(item->nominalFPS, c.fps, 1e-9);
    EXPECT_FALSE(item->id.isNil());
  }
}

TEST(MediaProbe, RefusesBadInputWithTheRightMessage) {
  auto& media = testMedia();
  const std::string whole = testing::readFile(media.sound);
  using Kind = MediaError::Kind;
  const struct {
    std::string name;
    std::optional<std::string> bytes;  // none: nothing there, or a folder when the name says so
    Kind kind;
  } cases[] = {
      {"empty.mov", "", Kind::unreadable},
      {"letter.mov", "Dear editor,\nthis is not a movie.\n", Kind::unreadable},
      {"notes.txt", "notes", Kind::unsupported},
      {"broken.png", std::string("\x89PNG\r\n\x1a\n", 8) + std::string(200, 'x'), Kind::unreadable},
      {"truncated.mp4", whole.substr(0, whole.size() / 2), Kind::unreadable},  // cut before its index
      {"silence.caf", std::string(64, '\0'), Kind::unreadable},  // a sound extension no reader accepts
      {"folder.mov", std::nullopt, Kind::unreadable},
      {"missing.mov", std::nullopt, Kind::unreadable},
      {"missing.txt", std::nullopt, Kind::unsupported},
  };
  const MediaProbe probe;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto file = media.dir / "bad" / c.name;
    if (c.bytes) testing::writeFile(file, *c.bytes);
    if (c.name.starts_with("folder")) std::filesystem::create_directories(file);
    auto item = probe.probe(file);
    ASSERT_FALSE(item.ok());
    EXPECT_EQ(item.error().kind, c.kind);
    const MediaError expected = c.kind == Kind::unsupported ? MediaError::unsupported(c.name) : MediaError::unreadable(c.name);
    EXPECT_EQ(item.error().message, expected.message);
  }
}

TEST(MediaProbe, FileWithoutPictureOrSoundHasNoTracks) {
  if (!testing::haveTool("ffmpeg")) GTEST_SKIP() << "the ffmpeg program is not installed";
  auto& dir = testMedia().dir;
  testing::writeFile(dir / "subs/words.srt", "1\n00:00:00,000 --> 00:00:01,000\nHello\n");
  const std::string command = "ffmpeg -v error -y -i '" + (dir / "subs/words.srt").string() + "' -c:s mov_text '" +
                              (dir / "subs/words.mov").string() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  auto item = MediaProbe().probe(dir / "subs/words.mov");
  ASSERT_FALSE(item.ok());
  EXPECT_EQ(item.error().message, MediaError::noTracks("words.mov").message);
}

// Every shared sample either probes or gives one of the three messages;
// where FFmpeg's own prober reads a movie, our duration agrees with it.
TEST(MediaProbe, SharedSamplesNeverCrash) {
  const std::filesystem::path folder = std::filesystem::path(BREVELAN_SHARED_DIR) / "testdata" / "media";
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "no shared test data at " << folder;
  const MediaProbe probe;
  int accepted = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    SCOPED_TRACE(entry.path().filename().string());
    auto item = probe.probe(entry.path());
    if (!item) {
      EXPECT_EQ(item.error().message.rfind("\"" + entry.path().filename().string() + "\"", 0), 0u);
      continue;
    }
    ++accepted;
    EXPECT_EQ(item->kind, *MediaProbe::kindForExtension(lowerExtension(entry.path())));
    EXPECT_TRUE(!item->hasVideo || item->width * item->height > 0);
  }
  EXPECT_GT(accepted, 5);

  struct Known {
    const char* name;
    std::int64_t width, height;
  } known[] = {{"jsonize_iphone4s_rotated.mov", 320, 568},  // stored 568 × 320 with a 90° turn
               {"immich_exif_orientation_6.jpg", 840, 700},  // stored 700 × 840, EXIF orientation 6
               {"filetype_fixture.png", 200, 133}};
  for (const Known& k : known) {
    SCOPED_TRACE(k.name);
    auto item = probe.probe(folder / k.name);
    ASSERT_TRUE(item.ok()) << item.error().message;
    EXPECT_EQ(item->width, k.width);
    EXPECT_EQ(item->height, k.height);
  }
  EXPECT_EQ(probe.probe(folder / "filetype_corrupt_chunk.png").error().kind, MediaError::Kind::unreadable);
  EXPECT_EQ(probe.probe(folder / "filetype_avchd_h264_ac3.mts").error().kind, MediaError::Kind::unsupported);
  EXPECT_EQ(probe.probe(folder / "jsonize_broken_header.wav").error().kind, MediaError::Kind::unreadable);
}

}  // namespace
}  // namespace brevelan
