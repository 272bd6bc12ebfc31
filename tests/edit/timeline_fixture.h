#pragma once

#include <cctype>
#include <string>

#include "edit/sequence_queries.h"
#include "edit/trim_tools.h"

namespace brevelan::testing {

inline constexpr TrackRef kV1{TrackKind::video, 0};
inline constexpr TrackRef kA1{TrackKind::audio, 0};

// A clip of a 1000-frame movie.
inline Clip movieClip(std::string name, std::int64_t start, std::int64_t length, std::int64_t sourceIn = 0,
                      std::int64_t sourceLimit = 1000) {
  return Clip::make(ClipSource::media(Uuid{}), std::move(name), start, length, sourceIn, sourceLimit);
}

// A 0..100, B 100..200 (source in 50), C 200..300 on V1, each linked to its
// sound (a, b, c) on A1.
inline BrevSequence abc() {
  BrevSequence seq = BrevSequence::make("Test");
  for (Clip picture : {movieClip("A", 0, 100), movieClip("B", 100, 100, 50), movieClip("C", 200, 100)}) {
    picture.linkID = Uuid::make();
    Clip sound = picture;
    sound.id = Uuid::make();
    sound.name = std::string(1, static_cast<char>(std::tolower(picture.name[0])));
    seq.video.mut(0).clips.push_back(picture);
    seq.audio.mut(0).clips.push_back(sound);
  }
  return seq;
}

// The first clip with that name on any track (a default clip when none).
inline Clip named(const BrevSequence& seq, const std::string& name) {
  for (const TrackRef ref : allRefs(seq))
    for (const Clip& c : trackAt(seq, ref).clips)
      if (c.name == name) return c;
  return {};
}

inline Uuid idOf(const BrevSequence& seq, const std::string& name) { return named(seq, name).id; }

enum class Tool { rippleHead, rippleTail, roll, slip, slide, trimHead, trimTail };
inline constexpr int kToolCount = 7;

inline std::int64_t useTool(BrevSequence& seq, Tool tool, const Uuid& id, std::int64_t by, bool linked) {
  switch (tool) {
    case Tool::rippleHead: return rippleTrim(seq, id, TrimEdge::head, by, linked);
    case Tool::rippleTail: return rippleTrim(seq, id, TrimEdge::tail, by, linked);
    case Tool::roll: return roll(seq, id, by, linked);
    case Tool::slip: return slip(seq, id, by, linked);
    case Tool::slide: return slide(seq, id, by, linked);
    case Tool::trimHead: return trim(seq, id, TrimEdge::head, by, linked);
    case Tool::trimTail: return trim(seq, id, TrimEdge::tail, by, linked);
  }
  return 0;
}

}  // namespace brevelan::testing
