#pragma once

#include <QWidget>

#include <cstdint>

namespace brevelan {

class EditorModel;
class PlaybackEngine;

// The COLOR workspace: the selected clip's grade (exposure, temperature, tint,
// contrast, saturation, the lift/gamma/gain wheels, curves, LUT and its
// amount, on/off) beside the program picture and the three scopes measured
// from the frame under the stopped playhead.
class ColorPage : public QWidget {
  Q_OBJECT
 public:
  ColorPage(EditorModel& editor, PlaybackEngine& program, QWidget* parent = nullptr);
  ~ColorPage() override;

 private:
  EditorModel& editor_;
  std::uint64_t subscription_ = 0;
};

}  // namespace brevelan
