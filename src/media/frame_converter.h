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
// Whether a frame is BT.709 video range, as every file we write is.
inline bool isBT709VideoRange(const AVFrame* frame) {
  return swsColorSpace(frame) == SWS_CS_ITU709 && !isFullRange(frame);
}

}  // namespace brevelan

namespace brevelan {

// Scales pictures of any pixel format and size to frames of one size and
// format (4:2:0 unless told), BT.709 video range out; keeps its scaler
// between calls.
class FrameScaler {
 public:
  FrameScaler(int width, int height, AVPixelFormat format = AV_PIX_FMT_YUV420P)
      : width_(width), height_(height), format_(format) {}
  // A new frame the caller owns (the reversed copy keeps a segment of them).
  ff::FramePtr scale(const AVFrame* frame);
  // Planes of a picture into `out`, a frame of this scaler's size and format;
  // `colorSpace` is a swscale coefficient set. False when no scaler fits.
  bool scaleInto(const std::uint8_t* const planes[], const int strides[], int width, int height, AVPixelFormat format,
                 int colorSpace, bool fullRange, AVFrame* out);

 private:
  int width_, height_;
  AVPixelFormat format_;
  ff::ScalePtr scaler_;
  int key_[5] = {-1, -1, -1, -1, -1};
};

}  // namespace brevelan
