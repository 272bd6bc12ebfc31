#include "app/shell/picture_image.h"

namespace brevelan {

QImage imageOf(std::shared_ptr<const Picture> picture) {
  if (!picture || picture->empty()) return {};
  // Qt has no premultiplied BGRA8888 format; on little-endian machines
  // ARGB32_Premultiplied is that byte order.
  const QImage::Format format =
      picture->order == PixelOrder::rgba ? QImage::Format_RGBA8888_Premultiplied : QImage::Format_ARGB32_Premultiplied;
  auto* keep = new std::shared_ptr<const Picture>(picture);
  return QImage(
      picture->pixels.get(), picture->width, picture->height, static_cast<qsizetype>(picture->stride()), format,
      [](void* info) { delete static_cast<std::shared_ptr<const Picture>*>(info); }, keep);
}

}  // namespace brevelan
