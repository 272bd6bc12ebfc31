#pragma once

#include <QImage>
#include <QTimer>
#include <QWidget>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "model/clip.h"

class QButtonGroup;
class QCheckBox;
class QDoubleSpinBox;
class QGridLayout;
class QLabel;
class QPushButton;
class QSlider;

namespace brevelan {

class ColorWheelView;
class CurveEditor;
class EditorModel;
class FrameView;
class PlaybackEngine;
class ProgramBuild;
class ScopeSampler;
class ScopeView;

// The COLOR workspace: the selected clip's grade (exposure, temperature, tint,
// contrast, saturation, the lift/gamma/gain wheels, curves, LUT and its
// amount, on/off) beside the program picture and the three scopes measured
// from the frame under the stopped playhead.
class ColorPage : public QWidget {
  Q_OBJECT
 public:
  // The open panel for a .cube file: a file, or nothing when the user cancels.
  using LUTChooser = std::function<std::optional<std::filesystem::path>()>;

  ColorPage(EditorModel& editor, PlaybackEngine& program, QWidget* parent = nullptr);
  ~ColorPage() override;

  // The clip graded here: the first selected clip on a video track.
  std::optional<Clip> gradedClip() const;
  void setLUTChooser(LUTChooser chooser) { chooseLUT_ = std::move(chooser); }
  // Asks for a .cube file and puts it on the graded clip ("LUT"); a file that
  // does not read or parse raises an alert and changes nothing.
  void loadLUT();

 protected:
  void showEvent(QShowEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  // A slider with its number, both showing one value of the grade.
  struct Control {
    const char* name;  // also the undo step's name
    QSlider* slider;
    QDoubleSpinBox* number;
    double steps;    // slider steps per unit
    double display;  // the number shows value × display
    double neutral;
    std::function<double(const ColorGrade&)> get;
    std::function<void(ColorGrade&, double)> set;
  };
  struct Wheel {
    const char* name;
    ColorWheelView* view;
    ColorWheel ColorGrade::*member;
  };

  QWidget* buildPrimaries();
  QWidget* buildWheels();
  QWidget* buildCurves();
  QWidget* buildLUT();
  Control& addControl(QGridLayout* grid, int row, const char* label, const char* name, double low, double high,
                      double steps, double display, int decimals, const QString& suffix, double neutral,
                      std::function<double(const ColorGrade&)> get, std::function<void(ColorGrade&, double)> set);
  void setControl(const Control& control, double value);

  void refresh();
  void change(const char* name, bool coalesce, const std::function<void(ColorGrade&)>& body);
  ToneCurve ColorGrade::*shownCurve() const;

  // Picture pacing: at most one rebuild in flight, the newest change next.
  void requestPicture();
  void startPicture();
  void pictureLanded();
  void frameShown(const QImage& picture);
  void measureStill();

  EditorModel& editor_;
  PlaybackEngine& program_;
  std::uint64_t subscription_ = 0;
  bool refreshing_ = false;
  LUTChooser chooseLUT_;

  QLabel* clipTitle_;
  QCheckBox* gradeOn_;
  FrameView* picture_;
  std::vector<ScopeView*> scopes_;
  std::vector<QWidget*> panels_;
  std::vector<std::unique_ptr<Control>> controls_;
  std::vector<Wheel> wheels_;
  CurveEditor* curves_;
  QButtonGroup* curveChannel_;
  QLabel* lutName_;
  QPushButton* removeLUT_;

  ScopeSampler* sampler_;
  QImage lastFrame_;

  bool pictureWanted_ = false;
  // The build being replaced while a rebuild is in flight.
  std::optional<std::shared_ptr<const ProgramBuild>> replacing_;
  QTimer pictureTimeout_;
};

}  // namespace brevelan
