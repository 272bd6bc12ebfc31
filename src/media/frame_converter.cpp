#include "media/frame_converter.h"

#include <algorithm>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace brevelan {

int swsColorSpace(const AVFrame* frame) {
  switch (frame->colorspace) {
    case AVCOL_SPC_BT709: return SWS_CS_ITU709;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M: return SWS_CS_ITU601;
    case AVCOL_SPC_SMPTE240M: return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL: return SWS_CS_BT2020;
    default: return frame->height >= 720 ? SWS_CS_ITU709 : SWS_CS_ITU601;
  }
}

bool isFullRange(const AVFrame* frame) {
  switch (frame->format) {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ411P: return true;
    default: return frame->color_range == AVCOL_RANGE_JPEG;
  }
}

void FrameConverter::convert(const AVFrame* frame, Picture& out) {
  const int space = swsColorSpace(frame);
  const int range = isFullRange(frame) ? 1 : 0;
  if (!scaler_ || frame->width != width_ || frame->height != height_ || frame->format != format_ || space != space_ ||
      range != range_ || out.order != order_) {
    const AVPixelFormat target = out.order == PixelOrder::rgba ? AV_PIX_FMT_RGBA : AV_PIX_FMT_BGRA;
    scaler_.reset(sws_getContext(frame->width, frame->height, static_cast<AVPixelFormat>(frame->format), frame->width,
                                 frame->height, target, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (scaler_) {
      sws_setColorspaceDetails(scaler_.get(), sws_getCoefficients(space), range, sws_getCoefficients(SWS_CS_DEFAULT), 1,
                               0, 1 << 16, 1 << 16);
    }
    width_ = frame->width;
    height_ = frame->height;
    format_ = frame->format;
    space_ = space;
    range_ = range;
    order_ = out.order;
  }
  if (!scaler_) return;
  std::uint8_t* planes[1] = {out.pixels.get()};
  const int strides[1] = {static_cast<int>(out.stride())};
  sws_scale(scaler_.get(), frame->data, frame->linesize, 0, frame->height, planes, strides);
  const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
  out.opaque = desc && !(desc->flags & AV_PIX_FMT_FLAG_ALPHA);
  if (desc && (desc->flags & AV_PIX_FMT_FLAG_ALPHA)) premultiply(out);
}

}  // namespace brevelan

namespace brevelan {

bool FrameScaler::scaleInto(const std::uint8_t* const planes[], const int strides[], int width, int height,
                            AVPixelFormat format, int colorSpace, bool fullRange, AVFrame* out) {
  const int range = fullRange ? 1 : 0;
  const int key[5] = {width, height, format, colorSpace, range};
  if (!scaler_ || !std::equal(key, key + 5, key_)) {
    scaler_.reset(
        sws_getContext(width, height, format, width_, height_, format_, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!scaler_) return false;
    sws_setColorspaceDetails(scaler_.get(), sws_getCoefficients(colorSpace), range, sws_getCoefficients(SWS_CS_ITU709),
                             0, 0, 1 << 16, 1 << 16);
    std::copy(key, key + 5, key_);
  }
  sws_scale(scaler_.get(), planes, strides, 0, height, out->data, out->linesize);
  return true;
}

ff::FramePtr FrameScaler::scale(const AVFrame* frame) {
  ff::FramePtr out = ff::makeFrame();
  out->width = width_;
  out->height = height_;
  out->format = format_;
  out->colorspace = AVCOL_SPC_BT709;
  out->color_range = AVCOL_RANGE_MPEG;
  if (av_frame_get_buffer(out.get(), 0) < 0) return nullptr;
  if (!scaleInto(frame->data, frame->linesize, frame->width, frame->height, static_cast<AVPixelFormat>(frame->format),
                 swsColorSpace(frame), isFullRange(frame), out.get()))
    return nullptr;
  return out;
}

}  // namespace brevelan
