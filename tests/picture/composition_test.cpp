#include <gtest/gtest.h>

#include <optional>

#include "media/demo_media.h"
#include "media/encoder_frames.h"
#include "picture/composition_builder.h"
#include "picture/frame_compositor.h"
#include "picture/frame_renderer.h"
#include "picture/gui_environment.h"
#include "picture/source_frames.h"
#include "picture_fixture.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

constexpr RGBA kRed{200.0 / 255, 0, 0, 1};
constexpr RGBA kBlue{0, 0, 200.0 / 255, 1};

// A 64 × 36 sequence at 30 fps whose clips are colour clips unless told otherwise.
struct Timeline {
  Project project = Project::make();
  BrevSequence& seq() { return *project.mutableActiveSequence(); }
  Timeline() {
    seq().width = 64;
    seq().height = 36;
  }
  Clip& add(std::size_t track, Clip clip) {
    while (seq().video.size() <= track) seq().video.push_back(Track::make(TrackKind::video, "V"));
    seq().video.mut(track).clips.push_back(std::move(clip));
    return seq().video.mut(track).clips.mut(seq().video[track].clips.size() - 1);
  }
  Clip& colour(std::size_t track, RGBA c, std::int64_t start, std::int64_t duration) {
    return add(track, Clip::make(ClipSource::color(c), "c", start, duration, 0, 1000));
  }
  // A 320 × 180 synthetic movie of `frames` frames written into `dir`, in the
  // project's media; the sequence takes its size. Its media id, or nothing.
  std::optional<Uuid> movie(const testing::TempDir& dir, const std::string& name, int frames, int quality = 20) {
    SyntheticMovie movie;
    movie.width = 320;
    movie.height = 180;
    movie.frames = frames;
    movie.quality = quality;
    if (!writeSyntheticMovie(dir / name, movie)) return std::nullopt;
    seq().width = 320;
    seq().height = 180;
    MediaItem item;
    item.id = Uuid::make();
    item.path = (dir / name).string();
    item.hasVideo = true;
    item.duration = frames / 30.0;
    project.media.push_back(item);
    return item.id;
  }
  std::shared_ptr<CompositionBuild> build() { return buildComposition(project, seq(), BuildOptions{}); }
  Picture frame(std::int64_t f) {
    SourceFrames sources;
    return FrameRenderer::output(*build(), f, sources);
  }
};

// Red, green and blue of a pixel (every frame here is opaque).
std::array<int, 3> pixel(const Picture& p, int x, int y) {
  const testing::Pixel px = testing::pixel(p, x, y);
  return {px[0], px[1], px[2]};
}

TEST(Composition, CrossfadeIsCentredOnTheCutAndInstructionsCoverTheSequence) {
  Timeline t;
  t.colour(0, kRed, -5, 35);  // starts before frame 0: clamped
  t.colour(0, kBlue, 30, 40).transitionIn = Transition{TransitionKind::crossfade, 10};
  const auto build = t.build();
  std::vector<std::int64_t> bounds;
  for (const BrevInstruction& i : build->instructions) bounds.push_back(i.from);
  bounds.push_back(build->instructions.back().to);
  EXPECT_EQ(bounds, (std::vector<std::int64_t>{0, 25, 35, 70}));
  EXPECT_EQ(build->instructions[1].entries.size(), 3u);  // red, the transition, blue
  EXPECT_EQ(pixel(t.frame(24), 10, 10), (std::array{200, 0, 0}));
  EXPECT_EQ(pixel(t.frame(35), 10, 10), (std::array{0, 0, 200}));
  // n = 11: frame 29 is 5/11 of the way, never A or B alone inside the span.
  const auto mid = pixel(t.frame(29), 10, 10);
  EXPECT_NEAR(mid[0], 200 * 6 / 11.0, 1);
  EXPECT_NEAR(mid[2], 200 * 5 / 11.0, 1);
  EXPECT_EQ(build->instructionAt(70), nullptr);
  EXPECT_EQ(pixel(t.frame(80), 10, 10), (std::array{0, 0, 0}));  // past the end: black
}

TEST(Composition, GapsAreBlackAndPictureInPictureShowsV1AroundIt) {
  Timeline t;
  t.colour(0, kRed, 0, 30);
  t.colour(0, kRed, 40, 30);
  Clip& pip = t.colour(1, RGBA::white(), 0, 70);
  pip.transform.mut().scale = 0.25;
  pip.transform.mut().x = 24;  // canvas pixels right of centre
  pip.transform.mut().y = 13;  // and above it
  EXPECT_EQ(pixel(t.frame(35), 2, 30), (std::array{0, 0, 0}));
  const Picture f = t.frame(10);
  EXPECT_EQ(pixel(f, 56, 4), (std::array{255, 255, 255}));  // top right
  EXPECT_EQ(pixel(f, 10, 30), (std::array{200, 0, 0}));
  EXPECT_EQ(pixel(t.frame(35), 56, 4), (std::array{255, 255, 255}));  // over the gap too
}

TEST(Composition, CaptionsBurnInOnlyWhenAskedAndNotWhenEmpty) {
  ensureGuiEnvironment();
  Timeline t;
  t.colour(0, kBlue, 0, 60);
  t.seq().captions.push_back(Caption{Uuid::make(), 0, 20, ""});
  t.seq().captions.push_back(Caption{Uuid::make(), 20, 40, "Hello there"});
  t.seq().captionStyle.box = false;
  BuildOptions burn;
  burn.burnCaptions = true;
  const auto build = buildComposition(t.project, t.seq(), burn);
  SourceFrames sources;
  const auto changed = [&](std::int64_t f, const std::shared_ptr<CompositionBuild>& b) {
    const Picture p = FrameRenderer::output(*b, f, sources);
    int count = 0;
    for (int y = 0; y < p.height; ++y)
      for (int x = 0; x < p.width; ++x) count += pixel(p, x, y) != std::array{0, 0, 200};
    return count;
  };
  EXPECT_EQ(changed(10, build), 0);  // empty text
  EXPECT_GT(changed(30, build), 0);
  EXPECT_EQ(changed(30, t.build()), 0);  // not burned in
}

TEST(Composition, VideoLayersReadTheRightSourceFramesOnSeparateTracks) {
  testing::TempDir dir;
  Timeline t;
  const auto id = t.movie(dir, "count.mov", 60, 12);
  ASSERT_TRUE(id);
  const auto media = [&](std::int64_t start, std::int64_t duration, std::int64_t in) {
    return Clip::make(ClipSource::media(*id), "m", start, duration, in, 60);
  };
  t.add(0, media(0, 20, 10));
  Clip& fast = t.add(0, media(20, 10, 0));
  fast.speed.rate = 2;
  Clip& back = t.add(0, media(30, 10, 0));
  back.speed.reverse = true;
  t.add(1, media(5, 10, 40));  // overlaps the first clip: its own source track

  const auto build = t.build();
  EXPECT_EQ(build->sourceTracks, 2u);
  EXPECT_EQ(build->instructionAt(7)->requiredTrackIDs, (std::vector<std::int32_t>{1, 2}));
  SourceFrames sources;
  const auto shown = [&](std::int64_t f) {
    return readFrameNumber(FrameRenderer::output(*build, f, sources));
  };
  EXPECT_EQ(shown(3), 13);                                             // sourceIn 10
  EXPECT_EQ(shown(7), 42);                                             // V2 on top
  EXPECT_EQ(shown(25), 10);                                            // double speed
  EXPECT_EQ(shown(30), 9);                                             // reversed: last consumed frame first
  EXPECT_EQ(shown(39), 0);
  EXPECT_EQ(sourcePosition(back, 0) + 1, static_cast<double>(back.speed.consumed(10)));
}

// An export may skip drawing a frame that is one untouched movie frame, with
// titles or the caption laid over it as they are; what it encodes then is
// what drawing gives.
TEST(Composition, UntouchedMovieFramesPassThroughWithTitlesOverThem) {
  ensureGuiEnvironment();
  testing::TempDir dir;
  Timeline t;
  const auto id = t.movie(dir, "m.mov", 40);
  ASSERT_TRUE(id);
  t.add(0, Clip::make(ClipSource::media(*id), "plain", 0, 20, 0, 40));
  t.add(0, Clip::make(ClipSource::media(*id), "graded", 20, 10, 20, 40)).grade.mut().exposure = 0.5;
  t.add(1, Clip::make(ClipSource::title(TitleSpec{}), "title", 5, 10));
  t.seq().captions.push_back(Caption{Uuid::make(), 16, 18, "Hello there"});

  BuildOptions burn;
  burn.burnCaptions = true;
  const auto build = buildComposition(t.project, t.seq(), burn);
  SourceFrames sources, drawing;
  EncoderFrames toEncoder(320, 180, AV_PIX_FMT_YUV420P);
  for (const std::int64_t f : {2, 7, 16}) {
    const auto through = FrameRenderer::passThrough(*build, f, sources);
    ASSERT_TRUE(through) << f;
    EXPECT_EQ(through->overlays.size(), f == 2 ? 0u : 1u) << f;
    const ff::FramePtr fast = toEncoder.fromDecoded(through->frame, through->overlays);
    const ff::FramePtr drawn = toEncoder.fromPicture(FrameRenderer::output(*build, f, drawing));
    double difference = 0;
    for (int y = 0; y < 180; ++y)
      for (int x = 0; x < 320; ++x)
        difference += std::abs(fast->data[0][y * fast->linesize[0] + x] - drawn->data[0][y * drawn->linesize[0] + x]);
    EXPECT_LT(difference / (320 * 180), 1.0) << f;
  }
  EXPECT_FALSE(FrameRenderer::passThrough(*build, 25, sources)) << "graded";
  BuildOptions reframed;
  reframed.output = std::pair{180, 320};
  EXPECT_FALSE(FrameRenderer::passThrough(*buildComposition(t.project, t.seq(), reframed), 2, sources));
}

TEST(Composition, NestedSequencesComposeAsOneLayerAndRequireTheirTracks) {
  Timeline t;
  BrevSequence inner = BrevSequence::make("Inner", 64, 36);
  BrevSequence innermost = BrevSequence::make("Innermost", 64, 36);
  innermost.video.mut(0).clips.push_back(Clip::make(ClipSource::color(kBlue), "b", 0, 30, 0, 1000));
  inner.video.mut(0).clips.push_back(Clip::make(ClipSource::nested(innermost.id), "n2", 0, 30, 0, 30));
  t.project.sequences.push_back(inner);
  t.project.sequences.push_back(innermost);
  t.colour(0, kRed, 0, 40);
  Clip& nest = t.add(1, Clip::make(ClipSource::nested(inner.id), "n1", 10, 20, 5, 30));
  nest.transform.mut().opacity = 0.5;
  const auto build = t.build();
  const auto& group = std::get<LayerRef>(build->instructionAt(15)->entries[1]);
  EXPECT_EQ(group->kind, LayerKind::group);
  EXPECT_EQ(std::get<LayerRef>(group->group[0])->kind, LayerKind::group);  // depth 2
  EXPECT_EQ(std::get<LayerRef>(group->group[0])->clipStart, 5);           // inner frame 0 at 10 − 5
  const auto mixed = pixel(t.frame(15), 10, 10);
  EXPECT_NEAR(mixed[0], 100, 1);
  EXPECT_NEAR(mixed[2], 100, 1);
}

TEST(Compositor, DrawsInOrderCancelsWhatIsQueuedAndRefusesWithoutAFrame) {
  Timeline t;
  t.colour(0, kRed, 0, 30);
  const auto build = t.build();
  FrameCompositor compositor;
  std::vector<std::string> results;
  std::mutex lock;
  const auto record = [&](FrameCompositor::Result r) {
    std::lock_guard guard(lock);
    results.push_back(r ? "frame" : r.error().description);
  };
  compositor.request(build, 3, record);
  compositor.request(build, 99, record);
  compositor.waitIdle();
  compositor.cancelAll();
  compositor.request(build, 4, record);
  compositor.waitIdle();
  EXPECT_EQ(results, (std::vector<std::string>{"frame", "No frame buffer", "frame"}));
  EXPECT_EQ(compositor.framesDrawn(), 2);
}

}  // namespace
}  // namespace brevelan
