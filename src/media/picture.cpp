#include "media/picture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <vector>

#include "media/ffmpeg_ptr.h"

namespace brevelan {
namespace {

// Freed buffers of at least kPooledFrom bytes, newest last, kPoolBytes at
// most in all: enough for the few frames in flight between decoding, drawing
// and encoding at 4K, little enough to give back nothing noticeable.
constexpr std::size_t kPooledFrom = std::size_t{1} << 20;
constexpr std::size_t kPoolBytes = std::size_t{160} << 20;

class PixelPool {
 public:
  static PixelPool& shared() {
    static auto* pool = new PixelPool();  // never destroyed: pictures may outlive static teardown
    return *pool;
  }
  std::uint8_t* take(std::size_t size) {
    std::lock_guard guard(lock_);
    for (auto it = free_.rbegin(); it != free_.rend(); ++it) {
      if (it->size == size) {
        std::uint8_t* pixels = it->pixels;
        bytes_ -= size;
        free_.erase(std::next(it).base());
        return pixels;
      }
    }
    return nullptr;
  }
  // False when the buffer is not kept (the caller frees it).
  bool give(std::uint8_t* pixels, std::size_t size) {
    std::vector<std::uint8_t*> evicted;
    {
      std::lock_guard guard(lock_);
      if (size > kPoolBytes) return false;
      while (bytes_ + size > kPoolBytes) {
        evicted.push_back(free_.front().pixels);
        bytes_ -= free_.front().size;
        free_.erase(free_.begin());
      }
      free_.push_back({pixels, size});
      bytes_ += size;
    }
    for (std::uint8_t* old : evicted) delete[] old;
    return true;
  }

 private:
  struct Entry {
    std::uint8_t* pixels;
    std::size_t size;
  };
  std::mutex lock_;
  std::vector<Entry> free_;
  std::size_t bytes_ = 0;
};

}  // namespace

void PixelDeleter::operator()(std::uint8_t* pixels) const {
  if (!pixels) return;
  if (size >= kPooledFrom && PixelPool::shared().give(pixels, size)) return;
  delete[] pixels;
}

PixelBuffer allocatePixels(std::size_t size) {
  std::uint8_t* pixels = size >= kPooledFrom ? PixelPool::shared().take(size) : nullptr;
  if (!pixels) pixels = new std::uint8_t[size];
  return PixelBuffer(pixels, PixelDeleter{size});
}

int orientationForRotation(int clockwiseDegrees) {
  switch (((clockwiseDegrees % 360) + 360) % 360) {
    case 90: return 6;
    case 180: return 3;
    case 270: return 8;
    default: return 1;
  }
}

Picture oriented(const Picture& source, int exifOrientation) {
  const int w = source.width;
  const int h = source.height;
  const bool swaps = exifOrientation >= 5 && exifOrientation <= 8;
  Picture out(swaps ? h : w, swaps ? w : h, source.order);
  out.opaque = source.opaque;
  if (exifOrientation < 2 || exifOrientation > 8) {
    std::memcpy(out.pixels.get(), source.pixels.get(), source.bytes());
    return out;
  }
  const auto* src = reinterpret_cast<const std::uint32_t*>(source.pixels.get());
  for (int y = 0; y < out.height; ++y) {
    auto* dst = reinterpret_cast<std::uint32_t*>(out.row(y));
    for (int x = 0; x < out.width; ++x) {
      int sx = x, sy = y;
      switch (exifOrientation) {
        case 2: sx = w - 1 - x; break;
        case 3: sx = w - 1 - x; sy = h - 1 - y; break;
        case 4: sy = h - 1 - y; break;
        case 5: sx = y; sy = x; break;
        case 6: sx = y; sy = h - 1 - x; break;
        case 7: sx = w - 1 - y; sy = h - 1 - x; break;
        case 8: sx = w - 1 - y; sy = x; break;
        default: break;
      }
      dst[x] = src[static_cast<std::size_t>(sy) * static_cast<std::size_t>(w) + static_cast<std::size_t>(sx)];
    }
  }
  return out;
}

Picture reordered(const Picture& source, PixelOrder order) {
  Picture out(source.width, source.height, order);
  out.opaque = source.opaque;
  std::memcpy(out.pixels.get(), source.pixels.get(), source.bytes());
  if (order != source.order) {
    std::uint8_t* p = out.pixels.get();
    for (std::size_t i = 0; i < out.bytes(); i += 4) std::swap(p[i], p[i + 2]);
  }
  return out;
}

Picture fittedWithin(const Picture& source, int maxSide) {
  const int longer = std::max(source.width, source.height);
  if (source.empty() || longer <= maxSide) return reordered(source, source.order);
  const double scale = static_cast<double>(maxSide) / longer;
  const int w = std::max(1, static_cast<int>(std::lround(source.width * scale)));
  const int h = std::max(1, static_cast<int>(std::lround(source.height * scale)));
  Picture out(w, h, source.order);
  // Premultiplied pixels scale correctly channel by channel; the format tag
  // only has to keep the four bytes together.
  ff::ScalePtr scaler(sws_getContext(source.width, source.height, AV_PIX_FMT_RGBA, w, h, AV_PIX_FMT_RGBA, SWS_AREA,
                                     nullptr, nullptr, nullptr));
  const std::uint8_t* srcPlanes[1] = {source.pixels.get()};
  const int srcStrides[1] = {static_cast<int>(source.stride())};
  std::uint8_t* dstPlanes[1] = {out.pixels.get()};
  const int dstStrides[1] = {static_cast<int>(out.stride())};
  sws_scale(scaler.get(), srcPlanes, srcStrides, 0, source.height, dstPlanes, dstStrides);
  return out;
}

void premultiply(Picture& picture) {
  std::uint8_t* p = picture.pixels.get();
  for (std::size_t i = 0; i < picture.bytes(); i += 4) {
    const unsigned a = p[i + 3];
    if (a == 255) continue;
    for (int c = 0; c < 3; ++c) p[i + c] = static_cast<std::uint8_t>((p[i + c] * a + 127) / 255);
  }
}

}  // namespace brevelan
