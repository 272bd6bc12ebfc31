#pragma once

#include <QMimeData>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

#include "model/uuid.h"

namespace brevelan {

// Media items dragged from the bin to the timeline or a viewer: their ids,
// one per line, under our own type.
inline constexpr const char* kMediaMimeType = "application/x-vael-brevelan-media";

std::unique_ptr<QMimeData> mediaDragData(const std::vector<Uuid>& items);
// The dragged items, or none when the drag holds something else.
std::vector<Uuid> draggedMedia(const QMimeData& data);

}  // namespace brevelan
