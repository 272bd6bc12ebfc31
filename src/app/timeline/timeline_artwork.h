#pragma once

#include <QImage>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "media/picture.h"
#include "model/media_item.h"
#include "model/uuid.h"

namespace brevelan {

// The pictures and sound shapes the timeline draws inside clips: filmstrip
// thumbnails from ThumbCache and waveform peaks from AudioCache. Painting
// only asks what is already here; anything missing is fetched in the
// background once, and `changed` runs on the main thread when it arrives.
class TimelineArtwork {
 public:
  // Thumbnails are asked at multiples of this many seconds (and coarser
  // steps when zoomed out), so zooming does not ask for a new picture for
  // every pixel.
  static constexpr double kThumbStep = 0.5;
  // Thumbnails are kept this many pixels high (enough for a high-density screen).
  static constexpr int kThumbHeight = 96;

  explicit TimelineArtwork(std::function<void()> changed);
  ~TimelineArtwork();
  TimelineArtwork(const TimelineArtwork&) = delete;
  TimelineArtwork& operator=(const TimelineArtwork&) = delete;

  // The thumbnail of a movie or still at a time already rounded by the
  // caller to a thumbnail step; a null image while it is on its way or when
  // there is none.
  const QImage* thumb(const MediaItem& item, double seconds);
  // 100 peaks a second (AudioCache's own step), or null while being read or
  // when the item has no sound.
  const std::vector<float>* peaks(const MediaItem& item);

 private:
  struct Store;
  std::shared_ptr<Store> store_;
};

}  // namespace brevelan
