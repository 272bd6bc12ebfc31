#include "edit/linking.h"

#include "edit/sequence_queries.h"

namespace brevelan {

namespace {

void setLink(BrevSequence& seq, const std::vector<Uuid>& ids, const std::optional<Uuid>& linkID) {
  for (const Uuid& id : ids) {
    const auto where = locate(seq, id);
    if (!where || trackAt(seq, where->track).clips[where->index].linkID == linkID) continue;
    mutTrack(seq, where->track).clips.mut(where->index).linkID = linkID;
  }
}

}  // namespace

void link(BrevSequence& seq, const std::vector<Uuid>& ids) { setLink(seq, ids, Uuid::make()); }

void unlink(BrevSequence& seq, const std::vector<Uuid>& ids) { setLink(seq, ids, std::nullopt); }

}  // namespace brevelan
