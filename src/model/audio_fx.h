#pragma once

#include <cstdint>
#include <vector>

#include "model/key_track.h"

namespace brevelan {

// A clip's sound settings. A new value passes the sound unchanged: no gain,
// centred, no keys or fades, and every effect switched off.
struct AudioFX {
  static constexpr int kEQBands = 10;

  double gainDB = 0;
  double pan = 0;
  KeyTrack volumeKeys;
  KeyTrack panKeys;
  std::int64_t fadeIn = 0;
  std::int64_t fadeOut = 0;
  bool eqOn = false;
  std::vector<double> eq = std::vector<double>(kEQBands, 0.0);
  bool gateOn = false;
  double gateThresholdDB = -45;
  bool compOn = false;
  double compThresholdDB = -18;
  double compRatio = 4;
  double compMakeupDB = 0;
  bool muted = false;

  friend bool operator==(const AudioFX&, const AudioFX&) = default;
};

}  // namespace brevelan
