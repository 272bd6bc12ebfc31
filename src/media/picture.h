#pragma once

#include <cstdint>
#include <memory>

namespace brevelan {

// Frees a pixel buffer, keeping large ones for the next picture of the same
// size: a fresh multi-megabyte buffer costs a page fault per 4 KiB the first
// time it is written, which at 1080p is as much work as drawing the frame.
struct PixelDeleter {
  std::size_t size = 0;
  void operator()(std::uint8_t* pixels) const;
};
using PixelBuffer = std::unique_ptr<std::uint8_t[], PixelDeleter>;

// An uninitialised buffer of `size` bytes, recycled when one is free.
PixelBuffer allocatePixels(std::size_t size);

// Byte order of a 32-bit pixel in memory.
enum class PixelOrder { rgba, bgra };

// An 8-bit picture with premultiplied alpha, rows packed without padding
// (stride = width × 4). The buffer is left uninitialised on allocation since
// every producer writes all of it. It ends with kSlack spare bytes: FFmpeg's
// vector converters write whole blocks of pixels and may run past the last
// row of a width that is not a multiple of their block.
struct Picture {
  static constexpr std::size_t kSlack = 256;

  int width = 0;
  int height = 0;
  PixelOrder order = PixelOrder::rgba;
  PixelBuffer pixels;
  // Every alpha is known to be 255 (a movie frame without an alpha channel),
  // so drawing may copy instead of blend without looking. False when unknown.
  bool opaque = false;

  Picture() = default;
  Picture(int w, int h, PixelOrder o) : width(w), height(h), order(o), pixels(allocatePixels(bytes() + kSlack)) {}

  std::size_t stride() const { return static_cast<std::size_t>(width) * 4; }
  std::size_t bytes() const { return stride() * static_cast<std::size_t>(height); }
  std::uint8_t* row(int y) { return pixels.get() + stride() * static_cast<std::size_t>(y); }
  const std::uint8_t* row(int y) const { return pixels.get() + stride() * static_cast<std::size_t>(y); }
  const std::uint8_t* at(int x, int y) const { return row(y) + static_cast<std::size_t>(x) * 4; }
  bool empty() const { return width <= 0 || height <= 0; }
};

// EXIF orientation 1…8: how the stored picture must be turned (and mirrored)
// to stand upright. A clockwise rotation of 90, 180 or 270 degrees is 6, 3, 8.
Picture oriented(const Picture& source, int exifOrientation);
int orientationForRotation(int clockwiseDegrees);

// Swaps red and blue when the order differs; otherwise a plain copy.
Picture reordered(const Picture& source, PixelOrder order);

// Shrinks (never enlarges) so that neither side exceeds maxSide.
Picture fittedWithin(const Picture& source, int maxSide);

// Multiplies colour by alpha in place (straight alpha in, premultiplied out).
void premultiply(Picture& picture);

}  // namespace brevelan
