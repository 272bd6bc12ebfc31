#include "media/encoder_frames.h"

#include "media/rgb_to_yuv.h"

namespace brevelan {
namespace {

// Frames a pool keeps; the encoder's threads and the queue before it hold a
// handful at a time, and any beyond this are simply freed after use.
constexpr std::size_t kPooled = 12;

void tagBT709(AVFrame* frame) {
  frame->color_primaries = AVCOL_PRI_BT709;
  frame->color_trc = AVCOL_TRC_BT709;
  frame->colorspace = AVCOL_SPC_BT709;
  frame->color_range = AVCOL_RANGE_MPEG;
}

// A frame of this size and format, tagged, without pictures yet.
ff::FramePtr frameShell(int width, int height, AVPixelFormat format) {
  ff::FramePtr frame = ff::makeFrame();
  if (!frame) return nullptr;
  frame->width = width;
  frame->height = height;
  frame->format = format;
  tagBT709(frame.get());
  return frame;
}

ff::FramePtr newFrame(int width, int height, AVPixelFormat format) {
  ff::FramePtr frame = frameShell(width, height, format);
  if (!frame || av_frame_get_buffer(frame.get(), 0) < 0) return nullptr;
  return frame;
}

}  // namespace

ff::FramePtr EncoderFrames::blank() {
  // A pooled frame is free again when its buffers have no other reference.
  for (const ff::FramePtr& pooled : pool_)
    if (av_frame_is_writable(pooled.get())) return ff::FramePtr(av_frame_clone(pooled.get()));
  ff::FramePtr frame = newFrame(width_, height_, format_);
  if (!frame || pool_.size() >= kPooled) return frame;
  pool_.push_back(std::move(frame));
  return ff::FramePtr(av_frame_clone(pool_.back().get()));
}

ff::FramePtr EncoderFrames::fromPicture(const Picture& picture) {
  ff::FramePtr out = blank();
  if (!out) return nullptr;
  const bool sameSize = picture.width == width_ && picture.height == height_;
  if (sameSize && format_ == AV_PIX_FMT_YUV420P) {
    toYUV420(picture, {out->data[0], out->data[1], out->data[2], out->linesize[0], out->linesize[1]});
    return out;
  }
  if (sameSize && format_ == AV_PIX_FMT_YUV422P10) {
    const auto plane = [&](int i) { return reinterpret_cast<std::uint16_t*>(out->data[i]); };
    toYUV422Deep(picture, {plane(0), plane(1), plane(2), out->linesize[0] / 2, out->linesize[1] / 2});
    return out;
  }
  const std::uint8_t* planes[4] = {picture.pixels.get(), nullptr, nullptr, nullptr};
  const int strides[4] = {static_cast<int>(picture.stride()), 0, 0, 0};
  const AVPixelFormat format = picture.order == PixelOrder::rgba ? AV_PIX_FMT_RGBA : AV_PIX_FMT_BGRA;
  if (!scaler_.scaleInto(planes, strides, picture.width, picture.height, format, SWS_CS_ITU709, true, out.get()))
    return nullptr;
  return out;
}

bool EncoderFrames::passesAsIs(const AVFrame* frame) const {
  return frame->format == format_ && frame->width == width_ && frame->height == height_ && isBT709VideoRange(frame);
}

bool EncoderFrames::canOverlay(const AVFrame* frame) const {
  return format_ == AV_PIX_FMT_YUV420P && passesAsIs(frame);
}

// A new frame on the same buffers, with only the pictures: not the source's
// frame types, captions or regions of interest, which the encoder would
// otherwise act on. Null for a frame not held in reference-counted buffers.
ff::FramePtr EncoderFrames::referenced(const AVFrame* frame) const {
  if (!frame->buf[0] || frame->extended_buf) return nullptr;
  ff::FramePtr same = frameShell(width_, height_, format_);
  if (!same) return nullptr;
  for (int i = 0; i < AV_NUM_DATA_POINTERS; ++i) {
    if (frame->buf[i] && !(same->buf[i] = av_buffer_ref(frame->buf[i]))) return nullptr;
    same->data[i] = frame->data[i];
    same->linesize[i] = frame->linesize[i];
  }
  return same;
}

ff::FramePtr EncoderFrames::fromDecoded(const AVFrame* frame,
                                        const std::vector<std::shared_ptr<const Picture>>& overlays) {
  if (!overlays.empty()) {
    if (!canOverlay(frame)) return nullptr;
    ff::FramePtr out = blank();
    if (!out || av_frame_copy(out.get(), frame) < 0) return nullptr;
    for (const auto& overlay : overlays)
      if (overlay && overlay->width == width_ && overlay->height == height_)
        blendOver(*overlay, {out->data[0], out->data[1], out->data[2], out->linesize[0], out->linesize[1]});
    return out;
  }
  if (passesAsIs(frame))
    if (ff::FramePtr same = referenced(frame)) return same;
  ff::FramePtr out = blank();
  if (!out || !scaler_.scaleInto(frame->data, frame->linesize, frame->width, frame->height,
                                 static_cast<AVPixelFormat>(frame->format), swsColorSpace(frame), isFullRange(frame),
                                 out.get()))
    return nullptr;
  return out;
}

}  // namespace brevelan
