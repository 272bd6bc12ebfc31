#include "model/project.h"

namespace brevelan {

Project Project::make() {
  Project project;
  project.id = Uuid::make();
  project.created = Date::now();
  BrevSequence first = BrevSequence::make("Sequence 1");
  project.activeSequenceID = first.id;
  project.sequences = {std::move(first)};
  project.bins = {"Media"};
  return project;
}

const BrevSequence* Project::activeSequence() const { return sequence(activeSequenceID); }

BrevSequence* Project::mutableActiveSequence() {
  for (std::size_t i = 0; i < sequences.size(); ++i)
    if (sequences[i].id == activeSequenceID) return &sequences.mut(i);
  return nullptr;
}

const MediaItem* Project::mediaItem(const Uuid& id) const {
  for (const MediaItem& item : media)
    if (item.id == id) return &item;
  return nullptr;
}

const BrevSequence* Project::sequence(const Uuid& id) const {
  for (const BrevSequence& seq : sequences)
    if (seq.id == id) return &seq;
  return nullptr;
}

}  // namespace brevelan
