#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "edit/editor_services.h"
#include "model/project.h"
#include "picture/render_plan.h"
#include "sound/stems.h"

namespace brevelan {

struct BuildOptions {
  bool useProxies = false;
  // The delivered picture's size; the sequence's own size when absent.
  std::optional<std::pair<int, int>> output;
  Reframe reframe = Reframe::fit;
  bool burnCaptions = false;
  // Playback wants each audio track as a stem; export and single frames mix
  // the sound themselves.
  bool withStems = false;
};

// One sequence made ready to draw and play: the plan every instruction
// shares, the instructions cutting the timeline at every boundary, and for
// playback the stems with their live volumes.
class CompositionBuild final : public ProgramBuild {
 public:
  std::shared_ptr<const RenderPlan> plan;
  std::vector<BrevInstruction> instructions;  // in time order, covering 0 … duration
  std::int64_t duration = 0;
  std::size_t sourceTracks = 0;
  std::vector<Stem> stems;               // one per audio track, in order
  std::vector<TrackVolume> audioMix;     // the player's volume for each stem
  std::optional<std::string> soundProblem;  // a stem that could not be written

  // The instruction covering frame f, or null outside 0 … duration − 1.
  const BrevInstruction* instructionAt(std::int64_t f) const;
};

// Builds from copies the caller owns; never fails for a clip whose media
// cannot be opened (it draws nothing). Runs off the interface thread.
std::shared_ptr<CompositionBuild> buildComposition(const Project& project, const BrevSequence& seq,
                                                   const BuildOptions& options);

}  // namespace brevelan
