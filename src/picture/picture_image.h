#pragma once

#include <QImage>

#include <memory>

#include "media/picture.h"

namespace brevelan {

// A picture as a QImage without copying its pixels: the image takes over the
// picture, or shares it. BGRA pictures become ARGB32, which is that byte
// order on a little-endian machine.
QImage toImage(Picture picture);
QImage toImage(std::shared_ptr<const Picture> picture);

}  // namespace brevelan
