#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "media/video_reader.h"
#include "media_fixture.h"

namespace brevelan {
namespace {

using testing::testMedia;

std::size_t hashOf(const Picture& picture) {
  return std::hash<std::string_view>()(
      std::string_view(reinterpret_cast<const char*>(picture.pixels.get()), picture.bytes()));
}

std::unique_ptr<VideoReader> open(const std::filesystem::path& file) {
  auto reader = VideoReader::open(file);
  if (!reader) ADD_FAILURE() << reader.error();
  return reader ? std::move(reader.value()) : nullptr;
}

// The picture of frame n is the same whether reached by decoding from the
// start or by seeking, from any direction and across key frames.
TEST(VideoReader, SeekedFramesEqualTheStraightDecode) {
  auto& media = testMedia();
  auto straight = open(media.seek);
  ASSERT_TRUE(straight);
  EXPECT_EQ(straight->frameCount(), 90);
  std::vector<std::size_t> hashes;
  for (int n = 0; n < 90; ++n) {
    auto picture = straight->picture(n);
    ASSERT_TRUE(picture.ok());
    ASSERT_EQ(readFrameNumber(**picture), n);
    hashes.push_back(hashOf(**picture));
  }
  EXPECT_EQ(straight->seeks(), 0);

  auto seeking = open(media.seek);
  const int order[] = {89, 0, 45, 29, 30, 31, 59, 60, 1, 88, 15, 75, 44, 43, 61, 2};
  for (int n : order) {
    SCOPED_TRACE(n);
    auto picture = seeking->picture(n);
    ASSERT_TRUE(picture.ok());
    EXPECT_EQ(hashOf(**picture), hashes[n]);
  }
  EXPECT_GT(seeking->seeks(), 0);
}

TEST(VideoReader, PlayingForwardNeverSeeks) {
  auto reader = open(testMedia().seek);
  ASSERT_TRUE(reader->picture(40).ok());
  const auto seeks = reader->seeks();
  for (int n = 41; n < 90; n += (n % 3 == 0 ? 2 : 1)) {  // steps of one and two frames
    auto picture = reader->picture(n);
    ASSERT_TRUE(picture.ok());
    EXPECT_EQ(readFrameNumber(**picture), n);
  }
  EXPECT_EQ(reader->seeks(), seeks);
  // Past the end stays on the last picture.
  EXPECT_EQ(readFrameNumber(**reader->picture(500)), 89);
  EXPECT_EQ(reader->lastIndex(), 89);
}

TEST(VideoReader, TurnsRotatedFootageUpright) {
  auto reader = open(testMedia().rotated);
  EXPECT_EQ(reader->rotation(), 90);
  EXPECT_EQ(reader->width(), 180);
  EXPECT_EQ(reader->height(), 320);
  for (int n : {0, 7, 14}) {
    auto picture = reader->picture(n);
    ASSERT_TRUE(picture.ok());
    EXPECT_EQ((*picture)->width, 180);
    EXPECT_EQ((*picture)->height, 320);
    EXPECT_EQ(readFrameNumber(**picture), n);
  }
}

TEST(VideoReader, BGRAIsRGBAWithRedAndBlueSwapped) {
  auto reader = open(testMedia().seek);
  const auto rgba = reader->picture(12);
  const auto rgbaPixels = reordered(**rgba, PixelOrder::bgra);
  const auto bgra = reader->picture(12, PixelOrder::bgra);
  ASSERT_EQ((*bgra)->order, PixelOrder::bgra);
  EXPECT_EQ(hashOf(**bgra), hashOf(rgbaPixels));
}

// An independent decode: the ffmpeg program's RGBA output of the same file.
TEST(VideoReader, ColoursMatchTheFFmpegProgram) {
  if (!testing::haveTool("ffmpeg")) GTEST_SKIP() << "the ffmpeg program is not installed";
  auto& media = testMedia();
  const auto raw = media.dir / "seek.rgba";
  const std::string command = "ffmpeg -v error -y -i '" + media.seek.string() + "' -f rawvideo -pix_fmt rgba '" +
                              raw.string() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  const std::string bytes = testing::readFile(raw);
  const std::size_t frameBytes = 320 * 180 * 4;
  ASSERT_EQ(bytes.size(), frameBytes * 90);
  auto reader = open(media.seek);
  for (int n : {0, 33, 89}) {
    Picture theirs(320, 180, PixelOrder::rgba);
    std::memcpy(theirs.pixels.get(), bytes.data() + frameBytes * n, frameBytes);
    EXPECT_LT(testing::meanDifference(**reader->picture(n), theirs), 1.5) << "frame " << n;
  }
}

}  // namespace
}  // namespace brevelan
