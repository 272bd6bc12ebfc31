#include "picture/render_plan.h"

namespace brevelan {

std::vector<std::int32_t> LayerItem::allTrackIDs() const {
  std::vector<std::int32_t> ids;
  if (trackID != 0) ids.push_back(trackID);
  for (const RenderEntry& entry : group) {
    const std::vector<std::int32_t> inner = entryTrackIDs(entry);
    ids.insert(ids.end(), inner.begin(), inner.end());
  }
  return ids;
}

std::pair<std::int64_t, std::int64_t> entrySpan(const RenderEntry& entry) {
  if (const auto* layer = std::get_if<LayerRef>(&entry)) return {(*layer)->visFrom, (*layer)->visTo};
  const auto& t = std::get<TransitionEntry>(entry);
  return {t.start, t.end};
}

std::vector<std::int32_t> entryTrackIDs(const RenderEntry& entry) {
  if (const auto* layer = std::get_if<LayerRef>(&entry)) return (*layer)->allTrackIDs();
  const auto& t = std::get<TransitionEntry>(entry);
  std::vector<std::int32_t> ids = t.a->allTrackIDs();
  const std::vector<std::int32_t> b = t.b->allTrackIDs();
  ids.insert(ids.end(), b.begin(), b.end());
  return ids;
}

}  // namespace brevelan
