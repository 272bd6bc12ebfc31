#include "app/playback/source_preview.h"

#include <cmath>
#include <numeric>

#include "edit/three_point.h"

namespace brevelan {

FrameRate mediaFrameRate(const MediaItem& item) {
  const double fps = item.nominalFPS;
  if (!(fps > 0) || !std::isfinite(fps) || fps > 1000) return {30, 1};
  for (const FrameRate& rate : FrameRate::all())
    if (std::fabs(fps - static_cast<double>(rate.num) / static_cast<double>(rate.den)) < 0.005) return rate;
  const std::int64_t num = std::llround(fps * 1000);
  const std::int64_t divisor = std::gcd(num, std::int64_t{1000});
  return {num / divisor, 1000 / divisor};
}

BrevSequence sourcePreview(const MediaItem& item, std::optional<FrameRate> rate) {
  const bool sized = item.width > 0 && item.height > 0;
  BrevSequence seq = BrevSequence::make(item.name, sized ? item.width : 1920, sized ? item.height : 1080,
                                        rate.value_or(mediaFrameRate(item)));
  // The same clips a source edit of the whole item onto V1 and A1 makes.
  const std::optional<SourceEdit> edit = threePointClips(seq, item, SourceEditMarks{});
  if (!edit) return seq;
  for (const Placement& placed : edit->items) {
    Track& track = seq.tracks(placed.track.kind).mut(static_cast<std::size_t>(placed.track.index));
    track.clips.push_back(placed.clip);
  }
  return seq;
}

std::optional<BrevSequence> sourcePreview(const Project& project, const Uuid& mediaID, std::optional<FrameRate> rate) {
  for (const MediaItem& item : project.media)
    if (item.id == mediaID) return sourcePreview(item, rate);
  return std::nullopt;
}

}  // namespace brevelan
