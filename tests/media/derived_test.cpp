#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

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
  const MediaItem item = probed(media.seek);
  auto made = ReverseMaker::make(item);
  ASSERT_TRUE(made.ok()) << made.error();
  EXPECT_TRUE(made->path.ends_with("-reversed.mov"));
  EXPECT_EQ(fs::path(made->path).parent_path(), media.dir.path() / "xdg" / "vael-brevelan" / "Reversed");
  EXPECT_FALSE(anyPartFile(derived::reversedFolder()));
  EXPECT_EQ(made->width, 320);
  EXPECT_EQ(made->height, 180);

  auto source = VideoReader::open(media.seek);
  auto reversed = VideoReader::open(made->path);
  ASSERT_TRUE(reversed.ok()) << reversed.error();
  EXPECT_EQ((*reversed)->frameCount(), 90);
  for (int k = 0; k < 90; ++k) {
    SCOPED_TRACE(k);
    auto mine = (*reversed)->picture(k);
    ASSERT_TRUE(mine.ok());
    EXPECT_EQ(readFrameNumber(**mine), 89 - k);
    EXPECT_LT(testing::meanDifference(**mine, **(*source)->picture(89 - k)), 3.0);
  }
}

TEST(ProxyMaker, WritesA1080pProxyUnderItsFinalName) {
  auto& media = testMedia();
  const MediaItem item = probed(media.uhd);
  double lastProgress = 0;
  auto made = ProxyMaker::make(item, [&](double fraction) {
    EXPECT_GE(fraction, lastProgress);
    lastProgress = fraction;
    return true;
  });
  ASSERT_TRUE(made.ok()) << made.error();
  EXPECT_EQ(lastProgress, 1.0);
  EXPECT_TRUE(made->path.ends_with("-proxy.mov"));
  EXPECT_EQ(fs::path(made->path).parent_path(), derived::proxiesFolder());
  EXPECT_FALSE(anyPartFile(derived::proxiesFolder()));
  const MediaItem proxy = probed(made->path);
  EXPECT_EQ(proxy.width, 1920);
  EXPECT_EQ(proxy.height, 1080);
  EXPECT_NEAR(proxy.nominalFPS, 30, 1e-9);
  EXPECT_EQ(ProxyMaker::runningStatus(item), "Making a 1080p proxy of “uhd.mov”");
  EXPECT_EQ(ProxyMaker::readyStatus(item), "Proxy ready for “uhd.mov”");
  EXPECT_EQ(ProxyMaker::measurement(item, DerivedResult{made->path, 1920, 1080, 1.25, 0.08}),
            "proxy for uhd.mov: 1920x1080 in 1.2 s (0.1× real time)");
}

TEST(ProxyMaker, KeepsRotatedFootageUprightAndCancelsCleanly) {
  auto& media = testMedia();
  const MediaItem item = probed(media.rotated);
  auto made = ProxyMaker::make(item);
  ASSERT_TRUE(made.ok()) << made.error();
  const MediaItem proxy = probed(made->path);
  EXPECT_EQ(proxy.width, 180);
  EXPECT_EQ(proxy.height, 320);

  const MediaItem other = probed(media.seek);
  auto cancelled = ProxyMaker::make(other, [](double fraction) { return fraction < 0.2; });
  EXPECT_FALSE(cancelled.ok());
  EXPECT_FALSE(fs::exists(derived::proxyPath(other)));
  EXPECT_FALSE(anyPartFile(derived::proxiesFolder()));
}

TEST(ThumbCache, MakesSmallPicturesOnItsOwnThreadAndCoalesces) {
  auto& media = testMedia();
  std::mutex lock;
  std::vector<std::function<void()>> mainThread;
  ThumbCache cache([&](std::function<void()> work) {
    std::lock_guard guard(lock);
    mainThread.push_back(std::move(work));
  });
  const MediaItem movie = probed(media.uhd);
  const MediaItem still = probed(media.still);
  const MediaItem sound = probed(media.mono);
  std::vector<std::shared_ptr<const Picture>> answers(4);
  cache.request(movie, 0.04, [&](auto picture) { answers[0] = picture; });
  cache.request(movie, 0.04, [&](auto picture) { answers[1] = picture; });
  cache.request(still, 0, [&](auto picture) { answers[2] = picture; });
  bool soundAnswered = false;
  cache.request(sound, 0, [&](auto picture) { soundAnswered = picture == nullptr; });
  cache.waitIdle();
  EXPECT_EQ(answers[0], nullptr);  // nothing arrives before the main thread runs it
  ASSERT_EQ(mainThread.size(), 3u);  // the two movie requests are answered together
  for (auto& work : mainThread) work();
  ASSERT_TRUE(answers[0]);
  EXPECT_EQ(answers[0], answers[1]);
  EXPECT_EQ(answers[0]->width, 320);
  EXPECT_EQ(answers[0]->height, 180);
  EXPECT_EQ(answers[2]->width, 200);  // already small enough
  EXPECT_TRUE(soundAnswered);
  EXPECT_EQ(cache.cached(movie.id, 0.04), answers[0]);
  cache.forget(movie.id);
  EXPECT_EQ(cache.cached(movie.id, 0.04), nullptr);
  EXPECT_TRUE(cache.cached(still.id, 0));
}

TEST(AssetCache, KeepsOpenedMoviesAndStills) {
  auto& media = testMedia();
  AssetCache cache;
  auto first = cache.asset(media.rotated.string());
  ASSERT_TRUE(first.ok()) << first.error();
  EXPECT_EQ((*first)->width, 180);
  EXPECT_EQ((*first)->height, 320);
  EXPECT_EQ(cache.asset(media.rotated.string()).value(), *first);
  auto still = cache.still(media.still.string());
  ASSERT_TRUE(still.ok());
  EXPECT_EQ(cache.still(media.still.string()).value(), *still);
  EXPECT_FALSE(cache.still((media.dir / "none.png").string()).ok());
}

}  // namespace
}  // namespace brevelan
