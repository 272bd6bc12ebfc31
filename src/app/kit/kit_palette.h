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
inline const QColor kLcdText(120, 220, 170);
// Level meter zones, and the switched-on colours of the icon buttons.
inline const QColor kMeterGreen(62, 200, 92);
inline const QColor kMeterYellow(232, 200, 60);
inline const QColor kMeterRed(232, 64, 56);
inline const QColor kMuteOn(236, 150, 40);
inline const QColor kSoloOn(232, 200, 60);
inline const QColor kRecordOn(224, 52, 48);

}  // namespace brevelan::kit
