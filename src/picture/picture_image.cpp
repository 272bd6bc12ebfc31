#include "picture/picture_image.h"

namespace brevelan {
namespace {

QImage::Format formatOf(const Picture& picture) {
  return picture.order == PixelOrder::rgba ? QImage::Format_RGBA8888_Premultiplied : QImage::Format_ARGB32_Premultiplied;
}

}  // namespace

QImage toImage(Picture picture) {
  if (picture.empty()) return {};
  const QImage::Format format = formatOf(picture);
  const int width = picture.width;
  const int height = picture.height;
  const auto stride = static_cast<qsizetype>(picture.stride());
  auto* keep = new PixelBuffer(std::move(picture.pixels));
  return QImage(
      keep->get(), width, height, stride, format, [](void* info) { delete static_cast<PixelBuffer*>(info); }, keep);
}

QImage toImage(std::shared_ptr<const Picture> picture) {
  if (!picture || picture->empty()) return {};
  auto* keep = new std::shared_ptr<const Picture>(picture);
  return QImage(
      picture->pixels.get(), picture->width, picture->height, static_cast<qsizetype>(picture->stride()),
      formatOf(*picture), [](void* info) { delete static_cast<std::shared_ptr<const Picture>*>(info); }, keep);
}

}  // namespace brevelan
