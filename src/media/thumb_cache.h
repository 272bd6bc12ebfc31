#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "media/picture.h"
#include "model/serial_queue.h"
#include "model/media_item.h"

namespace brevelan {

// Small pictures of media for the bin and the timeline, made one at a time on
// the serial queue "vael.brevelan.thumbs" and handed to `deliver` (the
// application passes a function that runs its argument on the main thread;
// by default the answer is given on the thumbnail thread). Movies give the
// picture at the asked time, stills their picture, sound files nothing.
class ThumbCache {
 public:
  static constexpr int kMaxSize = 320;
  // Times are kept in 1/600 s, the finest step a thumbnail is asked at.
  static constexpr double kTimescale = 600;
  using Deliver = std::function<void(std::function<void()>)>;
  using Done = std::function<void(std::shared_ptr<const Picture>)>;

  explicit ThumbCache(Deliver deliver = {});
  static ThumbCache& shared();
  void setDeliver(Deliver deliver);

  // A finished thumbnail is answered at once (through `deliver`); a request
  // already in flight for the same picture joins it.
  void request(const MediaItem& item, double seconds, Done done);
  std::shared_ptr<const Picture> cached(const Uuid& mediaID, double seconds) const;
  // Drops the finished thumbnails and open requests of a media item.
  void forget(const Uuid& mediaID);
  // Returns when every request made so far has been answered.
  void waitIdle() { queue_.waitIdle(); }

  static std::shared_ptr<const Picture> make(const MediaItem& item, double seconds);

 private:
  using Key = std::pair<Uuid, std::int64_t>;
  static Key keyOf(const Uuid& id, double seconds);
  void answer(std::vector<Done> callers, std::shared_ptr<const Picture> picture);

  mutable std::mutex lock_;
  Deliver deliver_;
  std::map<Key, std::shared_ptr<const Picture>> thumbs_;
  std::map<Key, std::vector<Done>> pending_;
  SerialQueue queue_{"vael.brevelan.thumbs"};
};

}  // namespace brevelan
