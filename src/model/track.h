#pragma once

#include <cstdint>
#include <string>

#include "model/clip.h"
#include "model/enum_text.h"
#include "model/shared_list.h"
#include "model/uuid.h"

namespace brevelan {

enum class TrackKind { video, audio };

template <>
struct EnumTexts<TrackKind> {
  static constexpr std::string_view noun = "track kind";
  static constexpr std::array<std::pair<TrackKind, std::string_view>, 2> items{
      {{TrackKind::video, "video"}, {TrackKind::audio, "audio"}}};
};

// Names a track inside a sequence: index 0 is V1 or A1.
struct TrackRef {
  TrackKind kind = TrackKind::video;
  std::int64_t index = 0;

  friend bool operator==(const TrackRef&, const TrackRef&) = default;
};

// A track: clips in order of start, never overlapping, gaps allowed.
struct Track {
  Uuid id;
  TrackKind kind = TrackKind::video;
  std::string name;
  SharedList<Clip> clips;
  bool muted = false;
  bool solo = false;
  bool locked = false;
  double volumeDB = 0;
  double pan = 0;

  static Track make(TrackKind kind, std::string name) {
    Track track;
    track.id = Uuid::make();
    track.kind = kind;
    track.name = std::move(name);
    return track;
  }

  friend bool operator==(const Track&, const Track&) = default;
};

}  // namespace brevelan
