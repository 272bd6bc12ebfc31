#pragma once

#include <optional>

#include "model/media_item.h"
#include "model/project.h"
#include "model/sequence.h"

namespace brevelan {

// The frame rate a media item plays at: one of the sequence rates when its
// own rate is that rate (29.97 fps files become 30000/1001), otherwise its
// rate in thousandths; 30 fps for sound and pictures.
FrameRate mediaFrameRate(const MediaItem& item);

// What the Source viewer plays: the whole item on a sequence of its own
// rate and picture size — a picture clip on V1 when it has one, a linked
// sound clip on A1 when it has sound. A still lasts the usual still length.
// The editor asks for the open sequence's rate, so that the Source viewer's
// marks count in the frames its source edits use.
BrevSequence sourcePreview(const MediaItem& item, std::optional<FrameRate> rate = std::nullopt);
// The same for an item of the project's bin; nothing when it is not there.
std::optional<BrevSequence> sourcePreview(const Project& project, const Uuid& mediaID,
                                          std::optional<FrameRate> rate = std::nullopt);

}  // namespace brevelan
