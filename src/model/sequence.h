#pragma once

#include <cstdint>
#include <string>

#include "model/caption.h"
#include "model/frame_rate.h"
#include "model/marker.h"
#include "model/shared_list.h"
#include "model/track.h"
#include "model/uuid.h"

namespace brevelan {

// One timeline. Every frame number inside counts in `rate`.
// Video tracks go V1 first (V1 is the bottom layer); audio tracks A1 first.
struct BrevSequence {
  Uuid id;
  std::string name;
  std::int64_t width = 1920;
  std::int64_t height = 1080;
  FrameRate rate{30, 1};
  std::int64_t sampleRate = 48000;
  SharedList<Track> video;
  SharedList<Track> audio;
  SharedList<Marker> markers;
  SharedList<Caption> captions;
  CaptionStyle captionStyle;
  double masterDB = 0;

  // A new, empty sequence with tracks V1, V2 and A1, A2.
  static BrevSequence make(std::string name, std::int64_t width = 1920, std::int64_t height = 1080,
                           FrameRate rate = {30, 1});

  const SharedList<Track>& tracks(TrackKind kind) const { return kind == TrackKind::video ? video : audio; }
  SharedList<Track>& tracks(TrackKind kind) { return kind == TrackKind::video ? video : audio; }

  // One past the last frame of any clip (0 when empty).
  std::int64_t duration() const;

  friend bool operator==(const BrevSequence&, const BrevSequence&) = default;
};

}  // namespace brevelan
