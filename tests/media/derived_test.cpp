#include <gtest/gtest.h>

#include <mutex>
#include <tuple>

#include "media/asset_cache.h"
#include "media/derived_files.h"
#include "media/derived_makers.h"
#include "media/media_probe.h"
#include "media/thumb_cache.h"
#include "media_fixture.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using testing::testMedia;

MediaItem probed(const fs::path& file) {
  auto item = MediaProbe().probe(file);
  if (!item) throw std::runtime_error(item.error().message);
  return *item;
}

bool anyPartFile(const fs::path& folder) {
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(folder, ec))
    if (entry.path().filename().string().ends_with("part.mov")) return true;
  return false;
}

TEST(DerivedFiles, ReversedSizeRule) {
  struct Case {
    int width, height;
    derived::Size expected;
  } cases[] = {
      {3840, 2160, {1920, 1080}}, {1080, 1920, {1080, 1920}}, {1000, 562, {1000, 562}},
      {2160, 3840, {1080, 1920}}, {4096, 2160, {1920, 1012}},  // 1920/4096 is the smaller scale
      {1921, 1081, {1920, 1080}}, {2, 2, {2, 2}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.width) + "x" + std::to_string(c.height));
    EXPECT_EQ(derived::fitWithin1080p(c.width, c.height), c.expected);
  }
}

TEST(DerivedFiles, PicturePathPrefersReversedThenProxyThenOriginal) {
  auto& media = testMedia();
  MediaItem item;
  item.path = media.seek.string();
  const std::string reversed = media.sound.string();
  const std::string proxy = media.hd.string();
  const std::string gone = (media.dir / "gone.mov").string();
  struct Case {
    std::optional<std::string> reversedPath, proxyPath;
    bool proxy, reverse;
    std::string expected;
  } cases[] = {
      {reversed, proxy, true, true, reversed},   {reversed, proxy, true, false, proxy},
      {reversed, proxy, false, true, reversed},  {reversed, proxy, false, false, item.path},
      {gone, proxy, true, true, proxy},          {gone, gone, true, true, item.path},
      {std::nullopt, gone, true, false, item.path}, {std::nullopt, std::nullopt, true, true, item.path},
  };
  for (const Case& c : cases) {
    item.reversedPath = c.reversedPath;
    item.proxyPath = c.proxyPath;
    EXPECT_EQ(AssetCache::picturePath(item, c.proxy, c.reverse), c.expected);
  }
}

// Frame k of the reversed copy is frame N−1−k of the source.
TEST(ReverseMaker, WritesFramesInReverseOrder) {
  auto& media = testMedia();
  auto made = ReverseMaker::make(probed(media.seek));
  ASSERT_TRUE(made.ok()) << made.error();
  EXPECT_EQ(fs::path(made->path).parent_path(), media.dir.path() / "xdg" / "vael-brevelan" / "Reversed");
  EXPECT_FALSE(anyPartFile(derived::reversedFolder()));
  EXPECT_EQ(made->width, 320);
  EXPECT_EQ(made->height, 180);

  auto source = VideoReader::open(media.seek);
  auto reversed = VideoReader::open(made->path);
  ASSERT_TRUE(reversed.ok()) << reversed.error();
  EXPECT_EQ((*reversed)->frameCount(), 90);
  for (int k = 0; k < 90; ++k) {
    auto mine = (*reversed)->picture(k);
    ASSERT_TRUE(mine.ok()) << k;
    EXPECT_EQ(readFrameNumber(**mine), 89 - k);
    EXPECT_LT(testing::meanDifference(**mine, **(*source)->picture(89 - k)), 3.0) << k;
  }
}

// A 1080p proxy of the 4K movie, an upright one of the rotated movie, and a
// cancelled one that leaves nothing behind.
TEST(ProxyMaker, WritesUprightProxiesUnderTheirFinalNameAndCancelsCleanly) {
  auto& media = testMedia();
  const MediaItem uhd = probed(media.uhd);
  double lastProgress = 0;
  auto made = ProxyMaker::make(uhd, [&](double fraction) {
    EXPECT_GE(fraction, lastProgress);
    lastProgress = fraction;
    return true;
  });
  ASSERT_TRUE(made.ok()) << made.error();
  EXPECT_EQ(lastProgress, 1.0);
  EXPECT_EQ(made->path, derived::proxyPath(uhd).string());
  const MediaItem proxy = probed(made->path);
  EXPECT_EQ(std::tie(proxy.width, proxy.height), std::make_tuple(1920, 1080));
  EXPECT_NEAR(proxy.nominalFPS, 30, 1e-9);
  EXPECT_EQ(ProxyMaker::measurement(uhd, DerivedResult{made->path, 1920, 1080, 1.25, 0.08}),
            "proxy for uhd.mov: 1920x1080 in 1.2 s (0.1× real time)");

  auto turned = ProxyMaker::make(probed(media.rotated));
  ASSERT_TRUE(turned.ok()) << turned.error();
  const MediaItem upright = probed(turned->path);
  EXPECT_EQ(std::tie(upright.width, upright.height), std::make_tuple(180, 320));

  const MediaItem other = probed(media.seek);
  EXPECT_FALSE(ProxyMaker::make(other, [](double fraction) { return fraction < 0.2; }).ok());
  EXPECT_FALSE(fs::exists(derived::proxyPath(other)));
  EXPECT_FALSE(anyPartFile(derived::proxiesFolder()));
}

// Thumbnails are made off the main thread and answered on it; opened assets are kept.
TEST(ThumbCache, MakesSmallPicturesOnItsOwnThreadAndCoalescesAndAssetsAreKept) {
  auto& media = testMedia();
  std::mutex lock;
  std::vector<std::function<void()>> mainThread;
  ThumbCache cache([&](std::function<void()> work) {
    std::lock_guard guard(lock);
    mainThread.push_back(std::move(work));
  });
  const MediaItem movie = probed(media.uhd), still = probed(media.still), sound = probed(media.mono);
  std::vector<std::shared_ptr<const Picture>> answers(3);
  cache.request(movie, 0.04, [&](auto picture) { answers[0] = picture; });
  cache.request(movie, 0.04, [&](auto picture) { answers[1] = picture; });
  cache.request(still, 0, [&](auto picture) { answers[2] = picture; });
  bool soundAnswered = false;
  cache.request(sound, 0, [&](auto picture) { soundAnswered = picture == nullptr; });
  cache.waitIdle();
  EXPECT_EQ(answers[0], nullptr);  // nothing arrives before the main thread runs it
  ASSERT_EQ(mainThread.size(), 3u);  // the two movie requests are answered together
  for (auto& work : mainThread) work();
  ASSERT_TRUE(answers[0] && answers[2]);
  EXPECT_EQ(answers[0], answers[1]);
  EXPECT_EQ(answers[0]->width, 320);
  EXPECT_EQ(answers[2]->width, 200);  // already small enough
  EXPECT_TRUE(soundAnswered);
  EXPECT_EQ(cache.cached(movie.id, 0.04), answers[0]);
  cache.forget(movie.id);
  EXPECT_EQ(cache.cached(movie.id, 0.04), nullptr);
  EXPECT_TRUE(cache.cached(still.id, 0));

  AssetCache assets;
  auto first = assets.asset(media.rotated.string());
  ASSERT_TRUE(first.ok()) << first.error();
  EXPECT_EQ((*first)->height, 320);  // upright
  EXPECT_EQ(assets.asset(media.rotated.string()).value(), *first);
  auto picture = assets.still(media.still.string());
  ASSERT_TRUE(picture.ok());
  EXPECT_EQ(assets.still(media.still.string()).value(), *picture);
  EXPECT_FALSE(assets.still((media.dir / "none.png").string()).ok());
}


}  // namespace
}  // namespace brevelan
