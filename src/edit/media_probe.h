#pragma once

#include <filesystem>
#include <string>

#include "model/expected.h"
#include "model/media_item.h"

namespace brevelan {

// Why a file cannot be used as media. `message` is the sentence shown to the
// user; it starts with the file's name in double quotes.
struct MediaError {
  enum class Kind { unsupported, unreadable, noTracks };
  Kind kind = Kind::unreadable;
  std::string message;

  static MediaError unsupported(const std::string& fileName);
  static MediaError unreadable(const std::string& fileName);
  static MediaError noTracks(const std::string& fileName);
};

// Reads what the editor needs to know of a media file. The editing engine
// reaches the media layer only through this; media/ implements it with FFmpeg.
class MediaProber {
 public:
  virtual ~MediaProber() = default;
  virtual Expected<MediaItem, MediaError> probe(const std::filesystem::path& file) const = 0;
};

}  // namespace brevelan
