#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "edit/media_probe.h"

namespace brevelan {

// Decides from a file's extension what kind of media it is and reads the
// facts the editor needs through FFmpeg (pictures through the still reader,
// so a picture that does not decode is refused here and not at play time).
// Safe to call from several threads at once.
class MediaProbe : public MediaProber {
 public:
  Expected<MediaItem, MediaError> probe(const std::filesystem::path& file) const override;

  // The kind an extension (without the dot, any case) stands for, if any.
  static std::optional<MediaKind> kindForExtension(std::string extension);
};

}  // namespace brevelan
