#pragma once

#include <filesystem>
#include <string>

#include "media/picture.h"
#include "model/expected.h"

namespace brevelan {

// The first picture of an image file, upright and premultiplied. PNG, JPEG,
// TIFF, GIF and BMP decode through FFmpeg (a JPEG's EXIF orientation is
// applied); HEIC/HEIF through libheif, which applies the file's own turns.
Expected<Picture, std::string> loadStill(const std::filesystem::path& file, PixelOrder order = PixelOrder::rgba);

// Writes a picture as an 8-bit RGBA PNG (alpha un-premultiplied).
Expected<void, std::string> writePNG(const Picture& picture, const std::filesystem::path& file);

}  // namespace brevelan
