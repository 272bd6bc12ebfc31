#pragma once

#include <QCursor>

namespace brevelan {

// What a press at the pointer would do, told by the cursor's shape.
enum class TimelineCursor { plain, grab, grabbing, trim, ripple, roll, slip, slide, blade, refused };

// Built once per shape and shared.
const QCursor& timelineCursor(TimelineCursor shape);

}  // namespace brevelan
