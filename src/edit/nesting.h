#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "edit/placement_edits.h"
#include "model/project.h"

namespace brevelan {

// Nested sequences: a clip whose source is another sequence of the project
// shows that sequence's picture (on a video track) and plays its sound (on an
// audio track).

// True when `outer` is `inner` or holds it through nested clips, directly or
// deeper. A chain is followed at most 16 levels down; anything deeper counts
// as no loop.
bool nests(const Project& project, const Uuid& outer, const Uuid& inner, int depth = 0);

// "Nested " and the number the next sequence of the project will have.
std::string nextNestName(const Project& project);

// Moves the clips (on unlocked tracks of the active sequence) into a new
// sequence named `name`, with the open sequence's settings, and puts one
// nested clip in their place: from the earliest start to the latest end, on
// the lowest picture track they used, plus a linked sound clip on the lowest
// sound track when they had sound. Inside, the clips keep their tracks and
// their times relative to each other, the earliest at frame 0.
//   V1 | A | B | C |   nest A, B  ->  V1 | Nested 2 | C |     Nested 2:  V1 | A | B |
//   A1 | a | b | c |                  A1 | Nested 2 | c |                A1 | a | b |
// What else lies under the nested clip on its tracks is overwritten. Returns
// the new sequence's id; nothing (and no change) when no clip qualifies.
std::optional<Uuid> nest(Project& project, const std::vector<Uuid>& ids, const std::string& name);

// The clips that put the sequence into the active one at a frame: a picture
// clip for `video` and, when the sequence holds any sound, a linked sound
// clip for `audio`, each as long as the sequence (at least a frame). Missing
// tracks get none. Makes no loop test: callers ask nests() first.
std::vector<Placement> nestedClips(const Project& project, const Uuid& sequence, TrackRef video, TrackRef audio);

}  // namespace brevelan
