#pragma once

#include <cstdint>

#include "media/picture.h"
#include "model/transition.h"

namespace brevelan {

// Progress of a transition spanning frames [start, end) at `frame`:
// (frame − start + 1) / (max(end − start, 1) + 1), clamped to 0…1, so neither
// picture is ever shown alone inside the span.
double transitionProgress(std::int64_t frame, std::int64_t start, std::int64_t end);

// Blends the outgoing picture `a` into the incoming `b` at `progress` (0…1).
// Either may be null, standing for a fully transparent picture; pictures of
// another size are aligned at the top-left corner. The result is
// width × height, to be composited over the frame beneath. Directions read as
// seen on screen: a left wipe reveals B from the right edge, an up push moves
// both pictures upward.
Picture blendTransition(const Transition& transition, const Picture* a, const Picture* b, double progress, int width,
                        int height);

}  // namespace brevelan
