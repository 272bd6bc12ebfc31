#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "edit/editor_model.h"
#include "model/caption.h"

namespace brevelan {

// The CAPTIONS workspace's edits of the active sequence's captions. Each is
// one named edit through the editor's funnel; a request that changes nothing
// (no active sequence, no such caption, nothing different) records nothing
// and returns false or 0. Captions are kept in order of start.
namespace CaptionEdits {

inline constexpr const char* kImport = "Import Captions";
inline constexpr const char* kEdit = "Edit Caption";
inline constexpr const char* kNudge = "Nudge Caption";
inline constexpr const char* kDelete = "Delete Caption";

// Replaces the active sequence's captions with those read from SubRip text
// (which never fails; see SRT::parse). A caption whose end is not after its
// start is given one frame. Returns how many captions were read.
std::size_t importSRT(EditorModel& editor, std::string_view text);

// The active sequence's captions as SubRip text (empty without a sequence).
std::string exportSRT(const EditorModel& editor);

// What "Edit Caption" changes; fields left empty stay as they are.
struct CaptionChange {
  std::optional<std::string> text = std::nullopt;
  std::optional<std::int64_t> start = std::nullopt;
  std::optional<std::int64_t> end = std::nullopt;
};

// Refused when the result would not start at frame 0 or later and end after it starts.
bool editCaption(EditorModel& editor, const Uuid& id, const CaptionChange& change);

// Moves a caption by `frames`, no earlier than frame 0; returns the frames moved.
std::int64_t nudgeCaption(EditorModel& editor, const Uuid& id, std::int64_t frames);

bool deleteCaption(EditorModel& editor, const Uuid& id);

}  // namespace CaptionEdits
}  // namespace brevelan
