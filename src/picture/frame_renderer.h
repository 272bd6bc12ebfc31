#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "media/picture.h"
#include "media/video_reader.h"
#include "picture/composition_builder.h"
#include "picture/render_plan.h"

namespace brevelan {

// The pictures of video layers: one frame-exact reader per source track and
// file, so each track moves forward through its clips without seeking. One
// thread at a time (the compositor's, or an export's picture pump).
class SourceFrames {
 public:
  // `threadedDecoding`: see VideoReader::open.
  explicit SourceFrames(bool threadedDecoding = true) : threadedDecoding_(threadedDecoding) {}

  // Null when the file does not open or nothing decodes there.
  std::shared_ptr<const Picture> frame(const LayerItem& item, std::int64_t f);
  // The decoded frame of the layer at f when it is already a finished
  // picture as it stands: upright, exactly width × height, opaque, BT.709
  // video range. Null otherwise. Valid until this source is read again.
  const AVFrame* untouchedFrame(const LayerItem& item, std::int64_t f, int width, int height);
  // Readers opened so far (for tests: one per source track and file).
  std::size_t readers() const { return readers_.size(); }

 private:
  VideoReader* reader(const LayerItem& item);

  std::map<std::pair<std::int32_t, std::string>, std::unique_ptr<VideoReader>> readers_;
  bool threadedDecoding_ = true;
};

// Draws frames: black canvas, layers from V1 up (crop, grade, placement,
// opacity), transitions, the caption of the moment, and on export the
// reframe to the output's shape. Pure functions of the plan, the entries and
// the frame, apart from the readers they pull pictures from.
namespace FrameRenderer {

// The finished frame f at the canvas size.
Picture render(const RenderPlan& plan, const std::vector<RenderEntry>& entries, std::int64_t f,
               SourceFrames& sources);
// Source-over of the entries drawn at frame f onto `canvas`, in order.
void drawEntries(Picture& canvas, const std::vector<RenderEntry>& entries, std::int64_t f, SourceFrames& sources);
// Source-over of one layer at frame f onto `canvas`; false when the layer has
// no picture at this frame.
bool drawLayer(Picture& canvas, const LayerItem& item, std::int64_t f, SourceFrames& sources);
// The canvas brought to the plan's output size (unchanged when equal).
Picture reframed(Picture canvas, const RenderPlan& plan);
// Frame f of a build as delivered: drawn and reframed; black outside the
// build's instructions.
Picture output(const CompositionBuild& build, std::int64_t f, SourceFrames& sources);
// A frame an export can encode without drawing: a movie frame as decoded,
// with canvas-size pictures (titles, the caption) to lay over it as they are.
struct PassThrough {
  const AVFrame* frame = nullptr;
  std::vector<std::shared_ptr<const Picture>> overlays;  // bottom first
};
// When frame f of a build is one untouched movie frame filling the output
// (no move, grade or fade), with at most titles and the caption over it, left
// as they are: that frame and those pictures. Nothing when it must be drawn.
std::optional<PassThrough> passThrough(const CompositionBuild& build, std::int64_t f, SourceFrames& sources);

}  // namespace FrameRenderer
}  // namespace brevelan
