#include "captions/caption_edits.h"

#include <algorithm>

#include "captions/srt.h"

namespace brevelan::CaptionEdits {
namespace {

std::optional<std::size_t> indexOf(const BrevSequence& sequence, const Uuid& id) {
  for (std::size_t i = 0; i < sequence.captions.size(); ++i)
    if (sequence.captions[i].id == id) return i;
  return std::nullopt;
}

void keepInOrder(BrevSequence& sequence) {
  sequence.captions.sortBy([](const Caption& a, const Caption& b) { return a.start < b.start; });
}

// Captions are edited as they are typed and nudged key by key: a run of
// changes to one caption is one undo step. Picture burn-in needs a rebuild.
constexpr bool kCoalesce = true;
constexpr bool kRebuild = true;

}  // namespace

std::size_t importSRT(EditorModel& editor, std::string_view text) {
  const BrevSequence* active = editor.activeSequence();
  if (!active) return 0;
  std::vector<Caption> captions = SRT::parse(text, active->rate);
  for (Caption& caption : captions) caption.end = std::max(caption.end, caption.start + 1);
  const std::size_t count = captions.size();
  editor.editSeq(kImport, false, kRebuild, [&](BrevSequence& sequence) {
    // Parsing gives new ids, so compare what the user sees.
    const bool same =
        sequence.captions.size() == count &&
        std::equal(captions.begin(), captions.end(), sequence.captions.begin(), [](const Caption& a, const Caption& b) {
          return a.start == b.start && a.end == b.end && a.text == b.text;
        });
    if (same) return;
    sequence.captions = SharedList<Caption>(std::move(captions));
    keepInOrder(sequence);
  });
  return count;
}

std::string exportSRT(const EditorModel& editor) {
  const BrevSequence* active = editor.activeSequence();
  return active ? SRT::make(active->captions.toVector(), active->rate) : std::string();
}

bool editCaption(EditorModel& editor, const Uuid& id, const CaptionChange& change) {
  return editor.editSeq(kEdit, kCoalesce, kRebuild, [&](BrevSequence& sequence) {
    const auto index = indexOf(sequence, id);
    if (!index) return;
    Caption edited = sequence.captions[*index];
    if (change.text) edited.text = *change.text;
    if (change.start) edited.start = *change.start;
    if (change.end) edited.end = *change.end;
    if (edited.start < 0 || edited.end <= edited.start || edited == sequence.captions[*index]) return;
    sequence.captions.set(*index, std::move(edited));
    keepInOrder(sequence);
  });
}

std::int64_t nudgeCaption(EditorModel& editor, const Uuid& id, std::int64_t frames) {
  std::int64_t moved = 0;
  editor.editSeq(kNudge, kCoalesce, kRebuild, [&](BrevSequence& sequence) {
    const auto index = indexOf(sequence, id);
    if (!index) return;
    const Caption& caption = sequence.captions[*index];
    moved = std::max(frames, -caption.start);
    if (moved == 0) return;
    Caption& nudged = sequence.captions.mut(*index);
    nudged.start += moved;
    nudged.end += moved;
    keepInOrder(sequence);
  });
  return moved;
}

bool deleteCaption(EditorModel& editor, const Uuid& id) {
  return editor.editSeq(kDelete, false, kRebuild, [&](BrevSequence& sequence) {
    sequence.captions.removeIf([&](const Caption& caption) { return caption.id == id; });
  });
}

}  // namespace brevelan::CaptionEdits
