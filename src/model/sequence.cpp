#include "model/sequence.h"

#include <algorithm>

namespace brevelan {

BrevSequence BrevSequence::make(std::string name, std::int64_t width, std::int64_t height, FrameRate rate) {
  BrevSequence sequence;
  sequence.id = Uuid::make();
  sequence.name = std::move(name);
  sequence.width = width;
  sequence.height = height;
  sequence.rate = rate;
  sequence.video = {Track::make(TrackKind::video, "V1"), Track::make(TrackKind::video, "V2")};
  sequence.audio = {Track::make(TrackKind::audio, "A1"), Track::make(TrackKind::audio, "A2")};
  return sequence;
}

std::int64_t BrevSequence::duration() const {
  std::int64_t end = 0;
  for (const auto* list : {&video, &audio})
    for (const Track& track : *list)
      if (!track.clips.empty()) end = std::max(end, track.clips.back().end());
  return end;
}

}  // namespace brevelan
