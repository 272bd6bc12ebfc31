#pragma once

#include "media/ffmpeg_ptr.h"
#include "media/picture.h"

namespace brevelan {

// Turns decoded frames of any pixel format into premultiplied 8-bit pictures
// of the same size, reading the frame's colour matrix and range (untagged HD
// is taken as BT.709, untagged SD as BT.601). Keeps its scaler between calls.
class FrameConverter {
 public:
  // `out` must already have the frame's size; its order says RGBA or BGRA.
  void convert(const AVFrame* frame, Picture& out);

 private:
  ff::ScalePtr scaler_;
  int width_ = 0, height_ = 0, format_ = -1, space_ = -1, range_ = -1;
  PixelOrder order_ = PixelOrder::rgba;
};

// The swscale coefficient set and source range that match a frame's tags.
int swsColorSpace(const AVFrame* frame);
bool isFullRange(const AVFrame* frame);

}  // namespace brevelan

namespace brevelan {

// Scales decoded frames to 4:2:0 frames of a fixed size that the caller owns
// (the reversed copy keeps a segment of them). BT.709, video range out.
class FrameScaler {
 public:
  FrameScaler(int width, int height) : width_(width), height_(height) {}
  ff::FramePtr scale(const AVFrame* frame);

 private:
  int width_, height_;
  ff::ScalePtr scaler_;
  int key_[5] = {-1, -1, -1, -1, -1};
};

}  // namespace brevelan
