#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <variant>
#include <vector>

#include "model/caption.h"
#include "model/clip.h"
#include "model/frame_rate.h"
#include "model/transition.h"
#include "picture/reframe.h"

namespace brevelan {

// What a layer shows.
enum class LayerKind { video, still, title, color, group };

struct LayerItem;
using LayerRef = std::shared_ptr<const LayerItem>;

// Two layers blended across a cut: `a` goes out, `b` comes in, over
// composition frames start … end − 1.
struct TransitionEntry {
  LayerRef a;
  LayerRef b;
  Transition transition;
  std::int64_t start = 0;
  std::int64_t end = 0;
};

// One clip drawn alone, or a transition.
using RenderEntry = std::variant<LayerRef, TransitionEntry>;

// Where a video layer's pictures come from: frame n of `file` for clip frame
// c is worked out by `sourceFrame` with the same speed arithmetic the mixer
// uses for sound, so picture and sound stay together.
struct VideoSource {
  std::filesystem::path file;
  double fileFps = 30;            // the file's own frame rate
  std::int64_t fileFrames = 0;    // frames in the file (for a reversed copy's mirror)
  bool reversedCopy = false;      // the file plays the source backwards
};

// One clip of the build. All frames are composition frames (the top-level
// sequence's), nested sequences included. Immutable once built.
struct LayerItem {
  LayerKind kind = LayerKind::color;
  Clip clip;
  std::int64_t visFrom = 0, visTo = 0;      // visible at all, transition overlap included
  std::int64_t plainFrom = 0, plainTo = 0;  // drawn alone
  std::int32_t trackID = 0;                 // source track; 0 for items that need none
  std::int64_t clipStart = 0;               // composition frame of the clip's first frame
  FrameRate rate{30, 1};                    // rate of the sequence the clip lies in
  VideoSource video;                        // video items
  std::filesystem::path stillFile;          // still items
  // Groups: the nested sequence's entries and its canvas.
  std::vector<RenderEntry> group;
  int groupWidth = 0, groupHeight = 0;

  // trackID (when not 0), then every track ID inside a group, recursively.
  std::vector<std::int32_t> allTrackIDs() const;
  // Frame within the clip (0 at its first frame) of composition frame f.
  std::int64_t clipFrame(std::int64_t f) const { return f - clipStart; }
};

// Shared, read-only, by every instruction of one build.
struct RenderPlan {
  int canvasWidth = 1920, canvasHeight = 1080;
  int outputWidth = 1920, outputHeight = 1080;
  Reframe reframe = Reframe::fit;
  FrameRate rate{30, 1};
  std::vector<RenderEntry> entries;  // bottom-most first
  bool burnCaptions = false;
  std::vector<Caption> captions;
  CaptionStyle captionStyle;
};

// Frames from … to − 1 and what is drawn there.
struct BrevInstruction {
  std::int64_t from = 0;
  std::int64_t to = 0;
  std::vector<std::int32_t> requiredTrackIDs;  // sorted, no repeats
  std::shared_ptr<const RenderPlan> plan;
  std::vector<RenderEntry> entries;  // bottom to top
};

// The start and end of an entry's span (for a layer, its visible span).
std::pair<std::int64_t, std::int64_t> entrySpan(const RenderEntry& entry);
std::vector<std::int32_t> entryTrackIDs(const RenderEntry& entry);

}  // namespace brevelan
