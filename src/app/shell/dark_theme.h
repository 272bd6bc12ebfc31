#pragma once

class QApplication;

namespace brevelan {

// The editor is always dark: Fusion with a dark palette, whatever the desktop says.
void applyDarkTheme(QApplication& app);

// Interface zoom: every text (and what is laid out around it) at `percent`
// of its normal size, from 85 to 200.
inline constexpr int kZoomSteps[] = {85, 100, 115, 130, 150, 175, 200};
void setInterfaceZoom(QApplication& app, int percent);
int interfaceZoom();

}  // namespace brevelan
