#include "edit/media_probe.h"

namespace brevelan {

MediaError MediaError::unsupported(const std::string& fileName) {
  return {Kind::unsupported,
          "\"" + fileName +
              "\" is not a file type Brevelan can use. It reads movies (MOV, MP4, M4V), sound (WAV, AIFF, MP3, M4A, "
              "AAC, CAF) and pictures (PNG, JPEG, HEIC, TIFF, GIF, BMP)."};
}

MediaError MediaError::unreadable(const std::string& fileName) {
  return {Kind::unreadable,
          "\"" + fileName + "\" could not be opened. It may be damaged or use a format the system cannot decode."};
}

MediaError MediaError::noTracks(const std::string& fileName) {
  return {Kind::noTracks, "\"" + fileName + "\" has no picture or sound in it."};
}

}  // namespace brevelan
