#pragma once

#include <cstdint>

#include "model/clip.h"
#include "model/frame_rate.h"
#include "picture/render_plan.h"

namespace brevelan {

// The source position, in sequence frames from the media's start, that clip
// frame c (0 = the clip's first frame; negative or past the end inside a
// transition's handles) shows. Speed, ramps and reverse follow the mixer's
// arithmetic, so a ramped or reversed clip's picture and sound stay in sync.
double sourcePosition(const Clip& clip, double c);

// The frame of the layer's file to show at composition frame f: the source
// position turned into the file's own frame numbers (through the mirror of a
// reversed copy), never before the file's first frame.
std::int64_t sourceFrame(const LayerItem& item, std::int64_t f);

}  // namespace brevelan
