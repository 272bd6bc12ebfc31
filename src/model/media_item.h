#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "model/enum_text.h"
#include "model/frame_rate.h"
#include "model/uuid.h"

namespace brevelan {

enum class MediaKind { video, audio, image };

template <>
struct EnumTexts<MediaKind> {
  static constexpr std::string_view noun = "media kind";
  static constexpr std::array<std::pair<MediaKind, std::string_view>, 3> items{
      {{MediaKind::video, "video"}, {MediaKind::audio, "audio"}, {MediaKind::image, "image"}}};
};

// An imported file in the bin. Media stay where they are; the project refers
// to them by absolute path and, when saved, also relative to the project file.
struct MediaItem {
  Uuid id;
  std::string name;
  MediaKind kind = MediaKind::video;
  std::string path;
  std::optional<std::string> relativePath;
  double duration = 0;  // seconds; 0 for stills
  std::int64_t width = 0;
  std::int64_t height = 0;
  double nominalFPS = 0;
  bool hasVideo = false;
  bool hasAudio = false;
  std::optional<std::string> proxyPath;
  std::optional<std::string> reversedPath;
  std::string bin;

  // Frames of source at a sequence rate: none for pictures, otherwise
  // max(1, floor(duration × num / den + 1e-6)).
  std::optional<std::int64_t> sourceLimit(const FrameRate& rate) const {
    if (kind == MediaKind::image) return std::nullopt;
    const std::int64_t frames = rate.frames(duration);
    return frames < 1 ? 1 : frames;
  }

  // The length a still gets where it needs one of its own: 5 nominal seconds.
  static std::int64_t stillLength(const FrameRate& rate) { return rate.nominalFPS() * 5; }

  friend bool operator==(const MediaItem&, const MediaItem&) = default;
};

}  // namespace brevelan
