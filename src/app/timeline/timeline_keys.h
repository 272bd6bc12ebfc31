#pragma once

#include <QColor>
#include <QPointF>

#include <cstddef>
#include <cstdint>
#include <optional>

#include "app/timeline/timeline_geometry.h"
#include "model/audio_fx.h"
#include "model/clip.h"
#include "model/track.h"

class QPainter;

namespace brevelan {

// Which keyframed sound setting a track shows over its clips' waveforms.
enum class KeyLine { off, volume, pan };

// The line's colour, also the header switch's when on.
QColor keyLineColor(KeyLine line);

// The header toggle's cycle: volume, pan, off, volume again.
KeyLine nextKeyLine(KeyLine line);

// The strip of a clip that its key line spans, in widget y. Up is louder:
// +12 dB at the top down to −60 dB at the bottom; for pan, full right at the
// top and full left at the bottom.
struct KeyBand {
  static constexpr double kMinDB = -60;
  static constexpr double kMaxDB = 12;

  double top = 0;
  double bottom = 0;

  // Values beyond the range sit on the band's edge.
  double y(KeyLine line, double value) const;
  // Clamped to the range and rounded to 0.1 dB, or to 0.01 of pan.
  double value(KeyLine line, double y) const;
};

// The keys a line shows and edits.
const KeyTrack& keysOf(const AudioFX& audio, KeyLine line);
KeyTrack& keysOf(AudioFX& audio, KeyLine line);

// What the line shows `t` frames into the clip. Volume keys add to the clip's
// gain, so the line shows the sum, the level the mix applies; keyed pan
// replaces the clip's pan.
double lineValue(const AudioFX& audio, KeyLine line, double t);
// The key value that makes the line show `shown`.
double keyValueFor(const AudioFX& audio, KeyLine line, double shown);

// Screen points from a key's dot, and above or below the line, that still grab it.
inline constexpr double kKeyReach = 6;
inline constexpr double kLineReach = 4;

// A press on a track's key lines: a key's dot (the nearest), or else the line of a clip.
struct KeyHit {
  std::size_t clip = 0;            // into the track's clips
  std::optional<std::size_t> key;  // into the line's keys; empty on the line between dots
};
// Keys outside their clip are not drawn and are never hit.
std::optional<KeyHit> keyHit(const Track& track, KeyLine line, const TimeAxis& axis, const KeyBand& band, QPointF pos);

// Where key `index` may go when dragged to `frame`: strictly between its
// neighbours, and within the clip (0 … duration) unless it already lay outside.
std::int64_t keyFrameWithin(const KeyTrack& keys, std::size_t index, std::int64_t frame, std::int64_t duration);

// The guide (0 dB, or centre pan), the line and a dot per key over a clip,
// drawn only between widget x `left` and `right`.
void drawKeyLine(QPainter& painter, const Clip& clip, KeyLine line, const TimeAxis& axis, const KeyBand& band,
                 double left, double right);

}  // namespace brevelan
