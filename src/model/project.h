#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "model/date.h"
#include "model/media_item.h"
#include "model/sequence.h"
#include "model/shared_list.h"
#include "model/uuid.h"

namespace brevelan {

// The whole document, a plain value: copies are cheap (lists share storage
// until written) and == compares field by field.
struct Project {
  static constexpr std::string_view kFormat = "vael-brevelan-1";
  static constexpr std::string_view kFormatPrefix = "vael-brevelan-";

  std::string format{kFormat};
  Uuid id;
  std::string name = "Untitled Project";
  SharedList<MediaItem> media;
  SharedList<BrevSequence> sequences;
  Uuid activeSequenceID;
  std::vector<std::string> bins;
  Date created;

  // A new project: fresh id, created now, one empty 1080p 30 fps sequence.
  static Project make();

  // The first sequence whose id is activeSequenceID, or null.
  const BrevSequence* activeSequence() const;
  // Writable access to the active sequence (copied on write), or null.
  BrevSequence* mutableActiveSequence();

  const MediaItem* mediaItem(const Uuid& id) const;
  const BrevSequence* sequence(const Uuid& id) const;

  friend bool operator==(const Project&, const Project&) = default;
};

}  // namespace brevelan
