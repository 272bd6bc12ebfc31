#pragma once

#include "model/transform.h"
#include "picture/affine.h"
#include "picture/raster.h"

// Where a clip's picture lands on the canvas.
//
// Units: a clip's position (Transform.x, Transform.y) and the Ken Burns
// offsets are pixels of the canvas measured from the canvas centre, with +y
// moving the picture up on screen. Rotation is in degrees, positive turning
// counter-clockwise on screen. The affine maps returned here are in the
// raster's own pixel space (y growing downward); the flip happens here.

namespace brevelan {

// The clip progress u (0…1) as the Ken Burns move uses it: 3u² − 2u³ when eased.
double kenBurnsProgress(const KenBurns& move, double u);

// Picture pixels (of the cropped picture, pictureW × pictureH) to canvas
// pixels: centre on the origin, scale by the fit scale × transform.scale × the
// Ken Burns zoom, mirror when flipH, rotate, then move to the canvas centre
// plus the position and the Ken Burns offset. `u` is the frame's place within
// the clip, 0…1.
Affine clipPlacement(const Transform& transform, double pictureW, double pictureH, double canvasW, double canvasH,
                     double u);

// The part of a width × height picture that the clip's crop fractions keep,
// rounded to whole pixels; never negative in size.
PixelRect cropRect(const Transform& transform, int width, int height);

}  // namespace brevelan
