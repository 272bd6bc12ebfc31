#pragma once

#include <QImage>

#include <memory>

#include "media/picture.h"

namespace brevelan {

// The picture as a QImage without copying: the image keeps the picture alive.
QImage imageOf(std::shared_ptr<const Picture> picture);

}  // namespace brevelan
