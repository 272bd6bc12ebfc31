#pragma once

#include <QLabel>
#include <QWidget>

#include "app/kit/fader.h"
#include "app/kit/icon_button.h"
#include "app/kit/knob.h"
#include "app/kit/lcd_readout.h"
#include "app/kit/level_meter.h"
#include "model/uuid.h"

namespace brevelan {

// One channel strip of the mixer: the track's name, its pan, mute and solo,
// the fader with a meter beside it and the level read out underneath. The
// master strip has the fader and meter only. The strip only shows; the page
// turns its controls' signals into edits.
class AudioStrip : public QWidget {
  Q_OBJECT
 public:
  // Documents keep a silent fader as this level (finite, so it saves).
  static constexpr double kSilentDB = -144;

  AudioStrip(const QString& name, bool master, QWidget* parent = nullptr);

  // The track this strip stands for (nil for the master).
  Uuid track;

  void setName(const QString& name);
  // Shows a stored level without signals; kSilentDB and below read as −inf.
  void showLevel(double dB);
  // The fader's value as the document keeps it.
  double storedLevel() const;
  void showPan(double pan);
  void showSwitches(bool muted, bool solo);

  kit::Fader* fader() const { return fader_; }
  kit::Knob* pan() const { return pan_; }
  kit::IconButton* mute() const { return mute_; }
  kit::IconButton* solo() const { return solo_; }
  kit::LevelMeter* meter() const { return meter_; }
  kit::LcdReadout* readout() const { return readout_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QLabel* name_;
  kit::Knob* pan_ = nullptr;
  kit::IconButton* mute_ = nullptr;
  kit::IconButton* solo_ = nullptr;
  kit::Fader* fader_;
  kit::LevelMeter* meter_;
  kit::LcdReadout* readout_;
  bool master_;
};

// How a pan reads: "C", "L50", "R100".
QString panText(double pan);

}  // namespace brevelan
