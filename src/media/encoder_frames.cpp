#include "media/encoder_frames.h"

#include <algorithm>

#include "media/frame_converter.h"
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

ff::FramePtr newFrame(int width, int height, AVPixelFormat format) {
  ff::FramePtr frame = ff::makeFrame();
  if (!frame) return nullptr;
  frame->width = width;
  frame->height = height;
  frame->format = format;
  tagBT709(frame.get());
  if (av_frame_get_buffer(frame.get(), 0) < 0) return nullptr;
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

bool EncoderFrames::scaled(const std::uint8_t* const planes[], const int strides[], int width, int height,
                           AVPixelFormat format, int colorSpace, int fullRange, AVFrame* out) {
  const int key[5] = {width, height, format, colorSpace, fullRange};
  if (!scaler_ || !std::equal(key, key + 5, scalerKey_)) {
    scaler_.reset(
        sws_getContext(width, height, format, width_, height_, format_, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!scaler_) return false;
    sws_setColorspaceDetails(scaler_.get(), sws_getCoefficients(colorSpace), fullRange,
                             sws_getCoefficients(SWS_CS_ITU709), 0, 0, 1 << 16, 1 << 16);
    std::copy(key, key + 5, scalerKey_);
  }
  sws_scale(scaler_.get(), planes, strides, 0, height, out->data, out->linesize);
  return true;
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
  if (!scaled(planes, strides, picture.width, picture.height, format, SWS_CS_ITU709, 1, out.get())) return nullptr;
  return out;
}

bool EncoderFrames::passesAsIs(const AVFrame* frame) const {
  return frame->format == format_ && frame->width == width_ && frame->height == height_ &&
         swsColorSpace(frame) == SWS_CS_ITU709 && !isFullRange(frame);
}

bool EncoderFrames::canOverlay(const AVFrame* frame) const {
  return format_ == AV_PIX_FMT_YUV420P && passesAsIs(frame);
}

ff::FramePtr EncoderFrames::fromDecoded(const AVFrame* frame,
                                        const std::vector<std::shared_ptr<const Picture>>& overlays) {
  if (overlays.empty()) return fromDecoded(frame);
  if (!canOverlay(frame)) return nullptr;
  ff::FramePtr out = blank();
  if (!out || av_frame_copy(out.get(), frame) < 0) return nullptr;
  for (const auto& overlay : overlays)
    if (overlay && overlay->width == width_ && overlay->height == height_)
      blendOver(*overlay, {out->data[0], out->data[1], out->data[2], out->linesize[0], out->linesize[1]});
  return out;
}

ff::FramePtr EncoderFrames::fromDecoded(const AVFrame* frame) {
  const int space = swsColorSpace(frame);
  const bool fullRange = isFullRange(frame);
  if (passesAsIs(frame)) {
    // Only the pictures, not the source's frame types, captions or regions
    // of interest, which the encoder would otherwise act on.
    ff::FramePtr same = ff::makeFrame();
    if (same && frame->buf[0] && !frame->extended_buf) {
      same->width = width_;
      same->height = height_;
      same->format = format_;
      tagBT709(same.get());
      for (int i = 0; i < AV_NUM_DATA_POINTERS; ++i) {
        if (frame->buf[i] && !(same->buf[i] = av_buffer_ref(frame->buf[i]))) return nullptr;
        same->data[i] = frame->data[i];
        same->linesize[i] = frame->linesize[i];
      }
      return same;
    }
  }
  ff::FramePtr out = blank();
  if (!out || !scaled(frame->data, frame->linesize, frame->width, frame->height,
                      static_cast<AVPixelFormat>(frame->format), space, fullRange ? 1 : 0, out.get()))
    return nullptr;
  return out;
}

}  // namespace brevelan
