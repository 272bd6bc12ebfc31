#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <random>
#include <thread>

#include "media/export_check.h"
#include "media/media_writer.h"
#include "media/video_reader.h"
#include "media_fixture.h"

namespace brevelan {
namespace {

using Codec = VideoFormat::Codec;

VideoFormat smallFormat(Codec codec) {
  VideoFormat format;
  format.codec = codec;
  format.width = 320;
  format.height = 180;
  format.bitRate = 2'000'000;
  return format;
}

Picture frame(int n) {
  SyntheticMovie movie;
  movie.width = 320;
  movie.height = 180;
  return syntheticPicture(movie, n);
}

// Pictures from one thread and sound from another, as an export feeds them.
void writeTwoThreaded(MediaWriter& writer, int pictures) {
  writer.paceSound(0.1);
  std::thread feeder([&] {
    for (int n = 0; n < pictures; ++n)
      if (auto added = writer.addPicture(frame(n)); !added) {
        ADD_FAILURE() << added.error();
        return writer.cancel();  // releases the sound feeder
      }
    EXPECT_TRUE(writer.finishPictures());
  });
  std::vector<float> sound(2 * 1600, 0.25f);
  for (int n = 0; n < pictures; ++n)
    if (auto added = writer.addSound(sound.data(), 1600); !added) ADD_FAILURE() << added.error();
  feeder.join();
  EXPECT_TRUE(writer.finish());
}

// Every codec the exports write, read back: tag, size, rate, length, pixel
// format, sound codec, BT.709 tags, and the pictures in order.
TEST(MediaWriter, WritesEachDeliveryCodecWithItsTagAndBT709) {
  struct Case {
    Codec codec;
    const char* file;
    const char* tag;
    AVPixelFormat pixels;
    AVCodecID sound;
  };
  const Case cases[] = {{Codec::h264, "a.mp4", "avc1", AV_PIX_FMT_YUV420P, AV_CODEC_ID_AAC},
                        {Codec::hevc, "b.mp4", "hvc1", AV_PIX_FMT_YUV420P, AV_CODEC_ID_AAC},
                        {Codec::proresProxy, "c.mov", "apco", AV_PIX_FMT_YUV422P10LE, AV_CODEC_ID_PCM_S24LE},
                        {Codec::prores422, "d.mov", "apcn", AV_PIX_FMT_YUV422P10LE, AV_CODEC_ID_PCM_S24LE},
                        {Codec::prores422HQ, "e.mov", "apch", AV_PIX_FMT_YUV422P10LE, AV_CODEC_ID_PCM_S24LE}};
  testing::TempDir dir;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.tag);
    const auto file = dir / c.file;
    const SoundFormat sound{c.sound == AV_CODEC_ID_AAC ? SoundFormat::Codec::aac : SoundFormat::Codec::pcm24};
    auto writer = MediaWriter::open(file, smallFormat(c.codec), sound);
    ASSERT_TRUE(writer) << writer.error().message;
    writeTwoThreaded(**writer, 12);

    auto check = ExportCheck::inspect(file);
    ASSERT_TRUE(check) << check.error();
    EXPECT_EQ(check->codec, c.tag);
    EXPECT_EQ(std::pair(check->width, check->height), std::pair(320, 180));
    EXPECT_EQ(check->fps, 30.0);
    EXPECT_EQ(check->videoDuration, 0.4);
    EXPECT_EQ(check->audioDuration, 0.4);

    ff::InputPtr input = ff::openInput(file.string());
    ASSERT_TRUE(input && input->nb_streams == 2);
    const AVCodecParameters* picture = input->streams[0]->codecpar;
    EXPECT_EQ(picture->format, c.pixels);
    EXPECT_EQ(input->streams[1]->codecpar->codec_id, c.sound);
    EXPECT_EQ(std::tuple(picture->color_primaries, picture->color_trc, picture->color_space, picture->color_range),
              std::tuple(AVCOL_PRI_BT709, AVCOL_TRC_BT709, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG));

    auto reader = VideoReader::open(file);
    ASSERT_TRUE(reader) << reader.error();
    for (int n = 0; n < 12; ++n) EXPECT_EQ(readFrameNumber(**(*reader)->picture(n)), n);
  }
}

// Bit-rate mode averages near the asked rate, and a key frame comes at least
// every keyInterval pictures (counted in presentation order).
TEST(MediaWriter, AverageBitRateAndKeyFrameInterval) {
  testing::TempDir dir;
  for (Codec codec : {Codec::h264, Codec::hevc}) {
    SCOPED_TRACE(static_cast<int>(codec));
    const auto file = dir / "rate.mp4";
    VideoFormat format = smallFormat(codec);
    format.bitRate = 1'000'000;
    format.keyInterval = 15;
    format.preset = "ultrafast";  // the same rate control, sooner
    auto writer = MediaWriter::open(file, format, std::nullopt);
    ASSERT_TRUE(writer) << writer.error().message;
    std::mt19937 random(7);
    constexpr int kPictures = 120;
    for (int n = 0; n < kPictures; ++n) {
      // Grain costs more than the rate, so the encoder has to hold back.
      Picture picture = frame(n);
      for (std::size_t i = 0; i < picture.bytes(); ++i)
        picture.pixels[i] = static_cast<std::uint8_t>(std::clamp(picture.pixels[i] + int(random() % 61) - 30, 0, 255));
      ASSERT_TRUE((*writer)->addPicture(picture));
    }
    ASSERT_TRUE((*writer)->finish());
    // Short clips run over a little: the first key frame weighs most.
    EXPECT_NEAR(double(std::filesystem::file_size(file)) * 8 / (kPictures / 30.0), 1e6, 0.25e6);

    ff::InputPtr input = ff::openInput(file.string());
    ASSERT_TRUE(input);
    ff::PacketPtr packet = ff::makePacket();
    std::vector<std::pair<std::int64_t, bool>> frames;
    for (; av_read_frame(input.get(), packet.get()) >= 0; av_packet_unref(packet.get()))
      frames.emplace_back(packet->pts, (packet->flags & AV_PKT_FLAG_KEY) != 0);
    std::sort(frames.begin(), frames.end());
    ASSERT_EQ(frames.size(), std::size_t(kPictures));
    int sinceKey = 0, longest = 0;
    for (const auto& [pts, key] : frames) longest = std::max(longest, sinceKey = key ? 1 : sinceKey + 1);
    EXPECT_LE(longest, 15);
  }
}

// An encoder refusing its settings is told apart from other failures: the
// exporter reports it as a codec this computer cannot write.
TEST(MediaWriter, RefusedSettingsAreEncoderUnavailable) {
  testing::TempDir dir;
  for (Codec codec : {Codec::h264, Codec::hevc}) {
    VideoFormat format = smallFormat(codec);
    format.preset = "no-such-preset";
    auto writer = MediaWriter::open(dir / "refused.mp4", format, std::nullopt);
    ASSERT_FALSE(writer);
    EXPECT_EQ(writer.error().kind, WriterError::Kind::encoderUnavailable);
  }
  auto unwritable = MediaWriter::open(dir / "missing" / "a.mp4", smallFormat(Codec::h264), std::nullopt);
  ASSERT_FALSE(unwritable);
  EXPECT_EQ(unwritable.error().kind, WriterError::Kind::failed);
}

// A paced sound feeder waits for pictures, and cancel() releases it at once.
TEST(MediaWriter, PacedSoundWaitsForPicturesUntilCancelled) {
  testing::TempDir dir;
  auto writer = MediaWriter::open(dir / "paced.mp4", smallFormat(Codec::h264), SoundFormat{});
  ASSERT_TRUE(writer);
  MediaWriter& w = **writer;
  w.paceSound(0.1);
  std::vector<float> second(2 * 48000, 0.0f);
  auto sound = std::async(std::launch::async, [&] { return w.addSound(second.data(), 48000); });
  EXPECT_EQ(sound.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
  w.cancel();
  ASSERT_EQ(sound.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  EXPECT_EQ(sound.get().error(), "cancelled");
  EXPECT_FALSE(w.addPicture(frame(0)));
}

}  // namespace
}  // namespace brevelan
