#pragma once

#include <memory>
#include <vector>

#include "media/ffmpeg_ptr.h"
#include "media/picture.h"

namespace brevelan {

// Frames ready for a picture encoder: its size and pixel format, tagged
// BT.709 video range (ProRes writes its frame header's colour tags from the
// frame). Made from finished pictures, or from decoded frames of any kind,
// which pass on untouched when they already are in the encoder's format.
// Buffers are reused once the encoder has let go of them. One thread at a time.
class EncoderFrames {
 public:
  EncoderFrames(int width, int height, AVPixelFormat format) : width_(width), height_(height), format_(format) {}

  // Null only when out of memory.
  ff::FramePtr fromPicture(const Picture& picture);
  ff::FramePtr fromDecoded(const AVFrame* frame);
  // Whether pictures can be laid over this decoded frame as it becomes an
  // encoder frame (it is in the encoder's format, and that is 4:2:0 8-bit).
  bool canOverlay(const AVFrame* frame) const;
  // A copy of the decoded frame with canvas-size pictures laid over it,
  // bottom first; only where canOverlay holds.
  ff::FramePtr fromDecoded(const AVFrame* frame, const std::vector<std::shared_ptr<const Picture>>& overlays);

 private:
  ff::FramePtr blank();
  bool passesAsIs(const AVFrame* frame) const;
  bool scaled(const std::uint8_t* const planes[], const int strides[], int width, int height, AVPixelFormat format,
              int colorSpace, int fullRange, AVFrame* out);

  int width_, height_;
  AVPixelFormat format_;
  std::vector<ff::FramePtr> pool_;
  ff::ScalePtr scaler_;
  int scalerKey_[5] = {-1, -1, -1, -1, -1};
};

}  // namespace brevelan
