#include "picture/frame_renderer.h"

#include <algorithm>
#include <cstring>

#include "media/asset_cache.h"
#include "media/frame_converter.h"
#include "picture/color_grading.h"
#include "picture/cube_cache.h"
#include "picture/layer_geometry.h"
#include "picture/raster.h"
#include "picture/source_frames.h"
#include "picture/title_renderer.h"
#include "picture/transitions.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace brevelan {

VideoReader* SourceFrames::reader(const LayerItem& item) {
  auto& reader = readers_[{item.trackID, item.video.file.string()}];
  if (!reader) {
    auto opened = VideoReader::open(item.video.file, threadedDecoding_);
    if (!opened) return nullptr;
    reader = std::move(opened).value();
  }
  return reader.get();
}

std::shared_ptr<const Picture> SourceFrames::frame(const LayerItem& item, std::int64_t f) {
  VideoReader* source = reader(item);
  if (!source) return nullptr;
  auto picture = source->picture(sourceFrame(item, f), PixelOrder::rgba);
  return picture ? *picture : nullptr;
}

const AVFrame* SourceFrames::untouchedFrame(const LayerItem& item, std::int64_t f, int width, int height) {
  VideoReader* source = reader(item);
  if (!source || source->rotation() != 0) return nullptr;
  const AVFrame* frame = source->decoded(sourceFrame(item, f));
  if (!frame || frame->width != width || frame->height != height) return nullptr;
  const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
  const bool opaque = format && !(format->flags & (AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL));
  if (!opaque || !isBT709VideoRange(frame)) return nullptr;
  return frame;
}

namespace FrameRenderer {
namespace {

bool hasCrop(const Transform& t) { return t.cropL != 0 || t.cropR != 0 || t.cropT != 0 || t.cropB != 0; }

// The picture a layer shows at frame f, before crop, grade and placement.
std::shared_ptr<const Picture> layerPicture(const LayerItem& item, std::int64_t f, int width, int height,
                                            SourceFrames& sources) {
  switch (item.kind) {
    case LayerKind::video:
      return sources.frame(item, f);
    case LayerKind::still: {
      auto still = AssetCache::shared().still(item.stillFile.string());
      return still ? *still : nullptr;
    }
    case LayerKind::title: {
      const TitleSpec* title = item.clip.source.titleSpec();
      if (!title) return nullptr;
      return TitleRenderer::shared().image(*title, width, height, item.clipFrame(f), item.clip.duration);
    }
    case LayerKind::color: {
      const RGBA* colour = item.clip.source.color();
      if (!colour) return nullptr;
      auto solid = std::make_shared<Picture>(width, height, PixelOrder::rgba);
      fill(*solid, *colour);
      return solid;
    }
    case LayerKind::group: {
      // The nested sequence's own frame, transparent where it has nothing,
      // so a nest on an upper track lets the tracks below show through.
      auto inner = std::make_shared<Picture>(blankPicture(item.groupWidth, item.groupHeight));
      drawEntries(*inner, item.group, f, sources);
      return inner;
    }
  }
  return nullptr;
}

// Whether a layer places its picture as it is: unmoved, uncropped, at full opacity.
bool placedAsIs(const LayerItem& item) {
  const Transform& t = *item.clip.transform;
  return !hasCrop(t) && t.opacity >= 1 && t.scale == 1 && t.rotation == 0 && t.x == 0 && t.y == 0 && !t.flipH &&
         t.kenBurns == KenBurns{};
}

bool graded(const LayerItem& item) { return item.clip.grade->enabled && !isIdentity(*item.clip.grade); }

// Whether a layer shows its picture as it is: placed as it is and ungraded.
bool shownAsIs(const LayerItem& item) { return placedAsIs(item) && !graded(item); }

bool activeAt(const RenderEntry& entry, std::int64_t f) {
  if (const auto* layer = std::get_if<LayerRef>(&entry)) return (*layer)->plainFrom <= f && f < (*layer)->plainTo;
  const auto& t = std::get<TransitionEntry>(entry);
  return t.start <= f && f < t.end;
}

// When the bottom entry drawn at f is a movie frame that covers the whole
// canvas opaquely and unmoved, the canvas starts as that frame, copied or
// graded straight in: the same pixels as drawing it over black, without the
// fill and the blend. Returns how many entries that took care of (0: none).
std::size_t startWithBottomLayer(Picture& canvas, const std::vector<RenderEntry>& entries, std::int64_t f,
                                 SourceFrames& sources) {
  const auto bottom = std::find_if(entries.begin(), entries.end(), [&](const RenderEntry& e) { return activeAt(e, f); });
  if (bottom == entries.end()) return 0;
  const auto* layer = std::get_if<LayerRef>(&*bottom);
  if (!layer) return 0;
  const LayerItem& item = **layer;
  if (item.kind != LayerKind::video || !item.clip.enabled || !placedAsIs(item)) return 0;
  const std::shared_ptr<const Picture> source = sources.frame(item, f);
  if (!source || !source->opaque || source->width != canvas.width || source->height != canvas.height ||
      source->order != canvas.order)
    return 0;
  if (!graded(item) || !CubeCache::shared().apply(*item.clip.grade, *source, canvas))
    std::memcpy(canvas.pixels.get(), source->pixels.get(), source->bytes());
  canvas.opaque = true;
  return static_cast<std::size_t>(bottom - entries.begin()) + 1;
}

// Draws the entries from `first` on, in order.
void drawEntriesFrom(Picture& canvas, const std::vector<RenderEntry>& entries, std::size_t first, std::int64_t f,
                     SourceFrames& sources) {
  for (std::size_t i = first; i < entries.size(); ++i) {
    const RenderEntry& entry = entries[i];
    if (!activeAt(entry, f)) continue;
    if (const auto* layer = std::get_if<LayerRef>(&entry)) {
      drawLayer(canvas, **layer, f, sources);
      continue;
    }
    const auto& t = std::get<TransitionEntry>(entry);
    // Each side drawn alone on a clear canvas, then blended; a side without
    // a picture blends as transparency.
    Picture a = blankPicture(canvas.width, canvas.height);
    Picture b = blankPicture(canvas.width, canvas.height);
    const bool hasA = drawLayer(a, *t.a, f, sources);
    const bool hasB = drawLayer(b, *t.b, f, sources);
    const Picture blend = blendTransition(t.transition, hasA ? &a : nullptr, hasB ? &b : nullptr,
                                          transitionProgress(f, t.start, t.end), canvas.width, canvas.height);
    sourceOver(canvas, blend);
  }
}

// The caption burned in at f: the first caption of the moment, none when
// that one is empty or captions are not burned in.
const Caption* captionAt(const RenderPlan& plan, std::int64_t f) {
  if (!plan.burnCaptions) return nullptr;
  const auto caption = std::find_if(plan.captions.begin(), plan.captions.end(),
                                    [&](const Caption& c) { return c.start <= f && f < c.end; });
  return caption == plan.captions.end() || caption->text.empty() ? nullptr : &*caption;
}

// Whether a picture drawn as it is would already be what the layer shows.
bool coversCanvasAsIs(const Picture& picture, const LayerItem& item, int width, int height) {
  return picture.width == width && picture.height == height && shownAsIs(item);
}

}  // namespace

void drawEntries(Picture& canvas, const std::vector<RenderEntry>& entries, std::int64_t f, SourceFrames& sources) {
  drawEntriesFrom(canvas, entries, 0, f, sources);
}

Picture output(const CompositionBuild& build, std::int64_t f, SourceFrames& sources) {
  const BrevInstruction* instruction = build.instructionAt(f);
  static const std::vector<RenderEntry> nothing;
  return reframed(render(*build.plan, instruction ? instruction->entries : nothing, f, sources), *build.plan);
}

std::optional<PassThrough> passThrough(const CompositionBuild& build, std::int64_t f, SourceFrames& sources) {
  const RenderPlan& plan = *build.plan;
  const int width = plan.canvasWidth, height = plan.canvasHeight;
  if (width != plan.outputWidth || height != plan.outputHeight) return std::nullopt;
  const BrevInstruction* instruction = build.instructionAt(f);
  if (!instruction) return std::nullopt;
  PassThrough through;
  const LayerItem* bottom = nullptr;
  for (const RenderEntry& entry : instruction->entries) {
    if (!activeAt(entry, f)) continue;
    const auto* layer = std::get_if<LayerRef>(&entry);
    if (!layer) return std::nullopt;  // a transition
    const LayerItem& item = **layer;
    if (!item.clip.enabled) continue;
    if (!bottom) {
      if (item.kind != LayerKind::video || !shownAsIs(item)) return std::nullopt;
      bottom = &item;
      continue;
    }
    // Over it, only titles laid on as they are.
    if (item.kind != LayerKind::title || !shownAsIs(item)) return std::nullopt;
    std::shared_ptr<const Picture> title = layerPicture(item, f, width, height, sources);
    if (!title || title->empty()) continue;  // draws nothing
    if (title->width != width || title->height != height) return std::nullopt;
    through.overlays.push_back(std::move(title));
  }
  if (!bottom) return std::nullopt;
  if (const Caption* caption = captionAt(plan, f)) {
    auto picture = TitleRenderer::shared().caption(caption->text, plan.captionStyle, width, height);
    if (picture && (picture->width != width || picture->height != height)) return std::nullopt;
    if (picture) through.overlays.push_back(std::move(picture));
  }
  through.frame = sources.untouchedFrame(*bottom, f, width, height);
  if (!through.frame) return std::nullopt;
  return through;
}

bool drawLayer(Picture& canvas, const LayerItem& item, std::int64_t f, SourceFrames& sources) {
  if (!item.clip.enabled) return false;
  std::shared_ptr<const Picture> source = layerPicture(item, f, canvas.width, canvas.height, sources);
  if (!source || source->empty()) return false;
  const Transform& transform = *item.clip.transform;

  // A solid colour over the whole canvas is just a fill.
  if (item.kind == LayerKind::color && coversCanvasAsIs(*source, item, canvas.width, canvas.height)) {
    fill(canvas, *item.clip.source.color());
    return true;
  }

  Picture working;
  const Picture* picture = source.get();
  if (hasCrop(transform)) {
    working = cropped(*picture, cropRect(transform, picture->width, picture->height));
    picture = &working;
  }
  const ColorGrade& grade = *item.clip.grade;
  if (grade.enabled && !isIdentity(grade)) {
    if (picture != &working) {
      working = Picture(picture->width, picture->height, picture->order);
      std::memcpy(working.pixels.get(), picture->pixels.get(), picture->bytes());
      picture = &working;
    }
    CubeCache::shared().apply(grade, working);
  }
  if (picture->empty()) return false;

  const double last = static_cast<double>(std::max<std::int64_t>(item.clip.duration - 1, 1));
  const double u = std::clamp(static_cast<double>(item.clipFrame(f)) / last, 0.0, 1.0);
  const Affine place = clipPlacement(transform, picture->width, picture->height, canvas.width, canvas.height, u);
  drawOver(canvas, *picture, place, std::clamp(transform.opacity, 0.0, 1.0));
  return true;
}

Picture render(const RenderPlan& plan, const std::vector<RenderEntry>& entries, std::int64_t f,
               SourceFrames& sources) {
  const int width = plan.canvasWidth, height = plan.canvasHeight;
  Picture canvas(width, height, PixelOrder::rgba);
  const std::size_t drawn = startWithBottomLayer(canvas, entries, f, sources);
  if (drawn == 0) fill(canvas, RGBA::black());
  drawEntriesFrom(canvas, entries, drawn, f, sources);
  if (const Caption* caption = captionAt(plan, f))
    if (auto picture = TitleRenderer::shared().caption(caption->text, plan.captionStyle, width, height))
      sourceOver(canvas, *picture);
  return canvas;
}

Picture reframed(Picture canvas, const RenderPlan& plan) {
  if (canvas.width == plan.outputWidth && canvas.height == plan.outputHeight) return canvas;
  return reframe(canvas, plan.outputWidth, plan.outputHeight, plan.reframe);
}

}  // namespace FrameRenderer
}  // namespace brevelan
