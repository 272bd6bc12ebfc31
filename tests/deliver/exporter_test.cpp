#include "deliver/exporter.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "media/audio_reader.h"
#include "media/demo_media.h"
#include "media/export_check.h"
#include "media/video_reader.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

// A 105-frame, 30 fps movie with a white flash at frame 60 and a beep at 2.00 s,
// placed whole on V1 and A1 of a sequence of the given size.
struct FlashAndBeep {
  testing::TempDir dir;
  Project project = Project::make();

  explicit FlashAndBeep(int width = 1280, int height = 720) {
    SyntheticMovie movie;
    movie.width = 320;
    movie.height = 180;
    movie.frames = 105;
    movie.flashFrame = 60;
    movie.sound = true;
    movie.beepAt = 2.0;
    movie.preset = "ultrafast";
    if (!writeSyntheticMovie(dir / "flash.mov", movie)) throw std::runtime_error("could not write the test movie");
    MediaItem item;
    item.id = Uuid::make();
    item.path = (dir / "flash.mov").string();
    item.hasVideo = item.hasAudio = true;
    item.duration = 3.5;
    project.media.push_back(item);
    BrevSequence& seq = *project.mutableActiveSequence();
    seq.width = width;
    seq.height = height;
    Clip picture = Clip::make(ClipSource::media(item.id), "flash", 0, 105, 0, 105);
    Clip sound = picture;
    sound.id = Uuid::make();
    picture.linkID = sound.linkID = Uuid::make();
    seq.video.mut(0).clips.push_back(picture);
    seq.audio.mut(0).clips.push_back(sound);
  }
  const BrevSequence& seq() { return *project.activeSequence(); }
  Expected<void, ExportError> run(const std::string& preset, const fs::path& file,
                                  const Exporter::Progress& progress = {}) {
    return Exporter::exportSequence(project, seq(), *presetByID(preset), file, false, presetByID(preset)->reframe,
                                    progress);
  }
};

// The frame numbers of the first all-white frame and of the beep's onset.
std::pair<std::int64_t, double> flashAndBeep(const fs::path& file) {
  std::int64_t flash = -1;
  auto reader = VideoReader::open(file);
  for (std::int64_t n = 0; reader && n < 105 && flash < 0; ++n) {
    auto picture = (*reader)->picture(n);
    if (picture && (*picture)->at((*picture)->width / 2, (*picture)->height / 2)[0] > 240) flash = n;
  }
  double beep = -1;
  if (auto sound = decodeSound(file)) {
    for (std::size_t i = 0; i < sound->size(); i += 2)
      if (std::abs((*sound)[i]) > 0.1f) {
        beep = static_cast<double>(i / 2) / 48000;
        break;
      }
  }
  return {flash, beep};
}

TEST(Exporter, MoviesHaveThePresetsShapeCodecAndSyncedPictureAndSound) {
  struct Case {
    std::string preset, file, codec;
    int sequenceW, sequenceH, width, height;
  };
  for (const Case& c : {Case{"yt1080", "a.mp4", "avc1", 1280, 720, 1920, 1080},
                        Case{"prores", "b.mov", "apcn", 1280, 720, 1280, 720},
                        Case{"vertical", "c.mp4", "avc1", 1920, 1080, 1080, 1920}}) {
    FlashAndBeep timeline(c.sequenceW, c.sequenceH);
    const fs::path file = timeline.dir / c.file;
    const auto result = timeline.run(c.preset, file);
    ASSERT_TRUE(result) << c.preset << ": " << result.error().description();
    const auto check = ExportCheck::inspect(file);
    ASSERT_TRUE(check) << c.preset;
    EXPECT_EQ(check->codec, c.codec);
    EXPECT_EQ(std::pair(check->width, check->height), std::pair(c.width, c.height)) << c.preset;
    EXPECT_NEAR(check->videoDuration, 3.5, 0.001) << c.preset;
    EXPECT_NEAR(check->fps, 30, 0.01) << c.preset;
    EXPECT_TRUE(check->hasAudio);
    // FFmpeg's own reader agrees on the codec tag, size and length.
    const std::string probe = "ffprobe -v error -select_streams v:0 -show_entries stream=codec_tag_string,width,height "
                              "-show_entries format=duration -of csv=p=0 '" + file.string() + "'";
    if (std::FILE* pipe = ::popen(probe.c_str(), "r")) {
      char line[256] = {};
      std::string said;
      while (std::fgets(line, sizeof line, pipe)) said += line;
      ::pclose(pipe);
      EXPECT_EQ(said.substr(0, said.find('\n')), c.codec + "," + std::to_string(c.width) + "," + std::to_string(c.height))
          << c.preset;
      EXPECT_NEAR(std::stod(said.substr(said.find('\n') + 1)), 3.5, 0.05) << c.preset;
    }
    const auto [flash, beep] = flashAndBeep(file);
    EXPECT_EQ(flash, 60) << c.preset;
    EXPECT_NEAR(beep, 2.0, 1.0 / 30) << c.preset;
  }
}

TEST(Exporter, SoundOnlyFilesHaveNoPictureAndTheSequencesLength) {
  FlashAndBeep timeline;
  ASSERT_TRUE(timeline.run("wav", timeline.dir / "mix.wav"));
  const auto wav = ExportCheck::inspect(timeline.dir / "mix.wav");
  EXPECT_FALSE(wav->hasVideo);
  EXPECT_DOUBLE_EQ(wav->audioDuration, 3.5);
  EXPECT_NEAR(flashAndBeep(timeline.dir / "mix.wav").second, 2.0, 0.001);
}

TEST(Exporter, CancelEmptyAndUnwritableLeaveNoFile) {
  FlashAndBeep timeline;
  const fs::path file = timeline.dir / "cancelled.mp4";
  const auto cancelled = timeline.run("yt1080", file, [](double fraction) { return fraction < 0.2; });
  ASSERT_FALSE(cancelled);
  EXPECT_EQ(cancelled.error().description(), "Export cancelled. The unfinished file was removed.");
  EXPECT_FALSE(fs::exists(file));

  const auto unwritable = timeline.run("yt1080", timeline.dir / "no such folder" / "x.mp4");
  ASSERT_FALSE(unwritable);
  EXPECT_EQ(unwritable.error().kind, ExportError::Kind::cannotStart);
  EXPECT_TRUE(unwritable.error().description().starts_with("The export could not start: "));

  Project empty = Project::make();
  const auto nothing = Exporter::exportSequence(empty, *empty.activeSequence(), *presetByID("yt1080"), file, false,
                                                Reframe::fit, {});
  ASSERT_FALSE(nothing);
  EXPECT_EQ(nothing.error().description(), "The sequence is empty — put some clips on the timeline first.");
  EXPECT_FALSE(fs::exists(file));
}

}  // namespace
}  // namespace brevelan
