#pragma once

#include <memory>
#include <vector>

#include "media/ffmpeg_ptr.h"
#include "media/frame_converter.h"
#include "media/picture.h"

namespace brevelan {

// Frames ready for a picture encoder: its size and pixel format, tagged
// BT.709 video range (ProRes writes its frame header's colour tags from the
// frame). Made from finished pictures, or from decoded frames of any kind,
// which pass on untouched when they already are in the encoder's format.
// Buffers are reused once the encoder has let go of them. One thread at a time.
class EncoderFrames {
 public:
  EncoderFrames(int width, int height, AVPixelFormat format)
      : width_(width), height_(height), format_(format), scaler_(width, height, format) {}

  // Null only when out of memory.
  ff::FramePtr fromPicture(const Picture& picture);
  // With `overlays` (canvas-size pictures laid over it, bottom first), only
  // where canOverlay holds; null otherwise.
  ff::FramePtr fromDecoded(const AVFrame* frame, const std::vector<std::shared_ptr<const Picture>>& overlays = {});
  // Whether pictures can be laid over this decoded frame as it becomes an
  // encoder frame (it is in the encoder's format, and that is 4:2:0 8-bit).
  bool canOverlay(const AVFrame* frame) const;

 private:
  ff::FramePtr blank();
  bool passesAsIs(const AVFrame* frame) const;
  ff::FramePtr referenced(const AVFrame* frame) const;

  int width_, height_;
  AVPixelFormat format_;
  std::vector<ff::FramePtr> pool_;
  FrameScaler scaler_;
};

}  // namespace brevelan
