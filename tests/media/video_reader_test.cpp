#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string_view>
#include <tuple>
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
// start or by seeking, from any direction and across key frames, and agrees
// with the ffmpeg program's decode when it is installed; playing on
// from there in steps of one and two frames never seeks.
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
  // An independent decode: the ffmpeg program's RGBA output of the same file.
  const auto raw = media.dir / "seek.rgba";
  if (testing::haveTool("ffmpeg") && std::system(("ffmpeg -v error -y -i '" + media.seek.string() +
                                                  "' -f rawvideo -pix_fmt rgba '" + raw.string() + "'").c_str()) == 0) {
    const std::string bytes = testing::readFile(raw);
    const std::size_t frameBytes = 320 * 180 * 4;
    ASSERT_EQ(bytes.size(), frameBytes * 90);
    for (int n : {0, 33, 89}) {
      Picture theirs(320, 180, PixelOrder::rgba);
      std::memcpy(theirs.pixels.get(), bytes.data() + frameBytes * n, frameBytes);
      EXPECT_LT(testing::meanDifference(**straight->picture(n), theirs), 1.5) << "frame " << n;
    }
  }

  auto seeking = open(media.seek);
  for (int n : {89, 0, 45, 29, 30, 31, 59, 60, 1, 88, 15, 75, 44, 43, 61, 2, 40}) {
    auto picture = seeking->picture(n);
    ASSERT_TRUE(picture.ok());
    EXPECT_EQ(hashOf(**picture), hashes[n]) << n;
  }
  const auto seeks = seeking->seeks();
  EXPECT_GT(seeks, 0);
  for (int n = 41; n < 90; n += (n % 3 == 0 ? 2 : 1)) EXPECT_EQ(readFrameNumber(**seeking->picture(n)), n);
  EXPECT_EQ(seeking->seeks(), seeks);
  EXPECT_EQ(readFrameNumber(**seeking->picture(500)), 89);  // past the end stays on the last picture
}

TEST(VideoReader, TurnsRotatedFootageUprightAndSwapsRedAndBlueForBGRA) {
  auto rotated = open(testMedia().rotated);
  EXPECT_EQ(rotated->rotation(), 90);
  for (int n : {0, 7, 14}) {
    auto picture = rotated->picture(n);
    ASSERT_TRUE(picture.ok());
    EXPECT_EQ(std::tie((*picture)->width, (*picture)->height), std::make_tuple(180, 320));
    EXPECT_EQ(readFrameNumber(**picture), n);
  }

  auto reader = open(testMedia().seek);
  const auto rgbaPixels = reordered(**reader->picture(12), PixelOrder::bgra);
  const auto bgra = reader->picture(12, PixelOrder::bgra);
  ASSERT_EQ((*bgra)->order, PixelOrder::bgra);
  EXPECT_EQ(hashOf(**bgra), hashOf(rgbaPixels));
}

}  // namespace
}  // namespace brevelan
