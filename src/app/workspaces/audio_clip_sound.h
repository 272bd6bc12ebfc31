#pragma once

#include <QLabel>
#include <QPushButton>
#include <QWidget>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>

#include "app/kit/icon_button.h"
#include "app/kit/knob.h"
#include "app/kit/frequency_view.h"
#include "model/audio_fx.h"
#include "model/clip.h"

namespace brevelan {

class EditorModel;

// The selected sound clip's settings: gain, pan and fades, the ten-band EQ
// drawn as its response with a knob per band, the noise gate and the
// compressor, and Mark Beats. Each control edits the clip under its own name,
// one undo step per drag.
class AudioClipSound : public QWidget {
  Q_OBJECT
 public:
  explicit AudioClipSound(EditorModel& editor, QWidget* parent = nullptr);
  ~AudioClipSound() override;

  // The clip shown: the first selected clip on an audio track.
  std::optional<Clip> shownClip() const;

  kit::Knob* gain() const { return gain_; }
  kit::Knob* pan() const { return pan_; }
  kit::Knob* fadeIn() const { return fadeIn_; }
  kit::Knob* fadeOut() const { return fadeOut_; }
  kit::Knob* band(int index) const { return bands_[static_cast<std::size_t>(index)]; }
  kit::IconButton* eqOn() const { return eqOn_; }
  kit::FrequencyView* response() const { return response_; }
  QPushButton* markBeats() const { return markBeats_; }

 private:
  void refresh();
  void change(const char* name, bool coalesce, const std::function<void(AudioFX&)>& body);
  // Connects a knob so each new value is a coalescing edit named `name`.
  void bind(kit::Knob* knob, const char* name, std::function<void(AudioFX&, double)> set);
  void bindSwitch(kit::IconButton* button, const char* name, std::function<void(AudioFX&, bool)> set);

  EditorModel& editor_;
  std::uint64_t subscription_ = 0;
  bool refreshing_ = false;

  QLabel* title_;
  QLabel* empty_;
  QWidget* fields_;
  QPushButton* markBeats_;
  kit::Knob* gain_;
  kit::Knob* pan_;
  kit::Knob* fadeIn_;
  kit::Knob* fadeOut_;
  kit::IconButton* eqOn_;
  kit::FrequencyView* response_;
  std::array<kit::Knob*, AudioFX::kEQBands> bands_{};
  kit::IconButton* gateOn_;
  kit::Knob* gateThreshold_;
  kit::IconButton* compOn_;
  kit::Knob* compThreshold_;
  kit::Knob* compRatio_;
  kit::Knob* compMakeup_;
};

}  // namespace brevelan
