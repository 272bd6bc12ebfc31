#pragma once

#include "model/project.h"

namespace brevelan {

// The sample project: a short film that uses colour mattes, titles of every
// style, a nested sequence, transitions, speed, grade and sound settings,
// markers and captions.
Project makeSampleProject();

}  // namespace brevelan
