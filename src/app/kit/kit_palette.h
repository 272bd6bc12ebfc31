#pragma once

#include <QColor>

namespace brevelan::kit {

// The kit's colours, shared by every control so they read as one family.
inline const QColor kPanel(37, 37, 40);
inline const QColor kWell(22, 22, 25);
inline const QColor kTrack(58, 58, 63);
inline const QColor kText(222, 222, 226);
inline const QColor kDimText(130, 130, 138);
inline const QColor kAccent(64, 140, 255);

}  // namespace brevelan::kit
