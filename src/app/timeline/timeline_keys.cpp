#include "app/timeline/timeline_keys.h"

#include <QColor>
#include <QPainter>
#include <QPen>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace brevelan {

namespace {

constexpr double kDotRadius = 3.5;

// The fraction of the band's height from the bottom that a value takes.
double fraction(KeyLine line, double value) {
  const double f =
      line == KeyLine::pan ? (value + 1) / 2 : (value - KeyBand::kMinDB) / (KeyBand::kMaxDB - KeyBand::kMinDB);
  return std::clamp(f, 0.0, 1.0);
}

// The keys with frame in [from, to].
std::pair<std::size_t, std::size_t> keysBetween(const KeyTrack& keys, double from, double to) {
  const auto& k = keys.keys;
  const auto first = std::partition_point(k.begin(), k.end(),
                                          [&](const Keyframe& key) { return static_cast<double>(key.frame) < from; });
  const auto last =
      std::partition_point(first, k.end(), [&](const Keyframe& key) { return static_cast<double>(key.frame) <= to; });
  return {static_cast<std::size_t>(first - k.begin()), static_cast<std::size_t>(last - k.begin())};
}

}  // namespace

QColor keyLineColor(KeyLine line) { return line == KeyLine::pan ? QColor(110, 200, 240) : QColor(250, 242, 196); }

KeyLine nextKeyLine(KeyLine line) {
  switch (line) {
    case KeyLine::volume: return KeyLine::pan;
    case KeyLine::pan: return KeyLine::off;
    case KeyLine::off: return KeyLine::volume;
  }
  return KeyLine::off;
}

double KeyBand::y(KeyLine line, double value) const { return bottom - fraction(line, value) * (bottom - top); }

double KeyBand::value(KeyLine line, double at) const {
  const double f = bottom > top ? std::clamp((bottom - at) / (bottom - top), 0.0, 1.0) : 0.5;
  if (line == KeyLine::pan) return std::round((f * 2 - 1) * 100) / 100;
  return std::round((kMinDB + f * (kMaxDB - kMinDB)) * 10) / 10;
}

const KeyTrack& keysOf(const AudioFX& audio, KeyLine line) {
  return line == KeyLine::pan ? audio.panKeys : audio.volumeKeys;
}

KeyTrack& keysOf(AudioFX& audio, KeyLine line) { return line == KeyLine::pan ? audio.panKeys : audio.volumeKeys; }

double lineValue(const AudioFX& audio, KeyLine line, double t) {
  if (line == KeyLine::pan) return audio.panKeys.value(t, audio.pan);
  return audio.gainDB + audio.volumeKeys.value(t, 0);
}

double keyValueFor(const AudioFX& audio, KeyLine line, double shown) {
  return line == KeyLine::pan ? shown : shown - audio.gainDB;
}

std::optional<KeyHit> keyHit(const Track& track, KeyLine line, const TimeAxis& axis, const KeyBand& band, QPointF pos) {
  if (line == KeyLine::off) return std::nullopt;
  const double ppf = axis.pixelsPerFrame;
  const std::int64_t f = axis.frameAt(pos.x());
  const auto reach = static_cast<std::int64_t>(std::ceil(kKeyReach / ppf)) + 1;
  const auto [first, last] = clipsBetween(track, f - reach, f + reach + 1);

  std::optional<KeyHit> best;
  double bestDistance = kKeyReach;
  for (std::size_t i = first; i < last; ++i) {
    const Clip& clip = track.clips[i];
    const AudioFX& audio = *clip.audio;
    const KeyTrack& keys = keysOf(audio, line);
    const double t = (pos.x() - axis.x(clip.start)) / ppf;
    const double lo = std::max(0.0, t - kKeyReach / ppf);
    const double hi = std::min(static_cast<double>(clip.duration), t + kKeyReach / ppf);
    const auto [k0, k1] = keysBetween(keys, lo, hi);
    for (std::size_t k = k0; k < k1; ++k) {
      const Keyframe& key = keys.keys[k];
      const QPointF dot(axis.x(clip.start + key.frame),
                        band.y(line, lineValue(audio, line, static_cast<double>(key.frame))));
      const double distance = std::hypot(dot.x() - pos.x(), dot.y() - pos.y());
      if (distance <= bestDistance) {
        bestDistance = distance;
        best = KeyHit{i, k};
      }
    }
  }
  if (best) return best;

  for (std::size_t i = first; i < last; ++i) {
    const Clip& clip = track.clips[i];
    const double t = (pos.x() - axis.x(clip.start)) / ppf;
    if (t < 0 || t > static_cast<double>(clip.duration)) continue;
    if (std::abs(band.y(line, lineValue(*clip.audio, line, t)) - pos.y()) <= kLineReach) return KeyHit{i, std::nullopt};
  }
  return std::nullopt;
}

std::int64_t keyFrameWithin(const KeyTrack& keys, std::size_t index, std::int64_t frame, std::int64_t duration) {
  const std::int64_t from = keys.keys[index].frame;
  std::int64_t lo = std::min<std::int64_t>(0, from);
  std::int64_t hi = std::max(duration, from);
  if (index > 0) lo = std::max(lo, keys.keys[index - 1].frame + 1);
  if (index + 1 < keys.keys.size()) hi = std::min(hi, keys.keys[index + 1].frame - 1);
  return std::clamp(frame, lo, std::max(lo, hi));
}

void drawKeyLine(QPainter& painter, const Clip& clip, KeyLine line, const TimeAxis& axis, const KeyBand& band,
                 double left, double right) {
  if (line == KeyLine::off) return;
  const AudioFX& audio = *clip.audio;
  const KeyTrack& keys = keysOf(audio, line);
  const double ppf = axis.pixelsPerFrame;
  const double x0 = axis.x(clip.start);
  const double duration = static_cast<double>(clip.duration);
  // Only the part in view: a long clip far off screen costs nothing.
  const double tl = std::clamp((left - x0) / ppf, 0.0, duration);
  const double tr = std::clamp((right - x0) / ppf, 0.0, duration);
  if (tr <= tl) return;
  const auto point = [&](double t) { return QPointF(x0 + t * ppf, band.y(line, lineValue(audio, line, t))); };

  painter.save();
  const double guide = std::round(band.y(line, 0)) + 0.5;
  painter.setPen(QPen(QColor(255, 255, 255, 60), 1, Qt::DotLine));
  painter.drawLine(QPointF(x0 + tl * ppf, guide), QPointF(x0 + tr * ppf, guide));

  // Straight between keys and flat outside them, so the keys in view and the
  // two ends are all the corners there are.
  QPolygonF corners;
  corners << point(tl);
  const auto [inFirst, inLast] = keysBetween(keys, tl, tr);
  for (std::size_t k = inFirst; k < inLast; ++k) corners << point(static_cast<double>(keys.keys[k].frame));
  corners << point(tr);
  const QColor color = keyLineColor(line);
  painter.setRenderHint(QPainter::Antialiasing, true);
  painter.setPen(QPen(color, 1.5));
  painter.drawPolyline(corners);

  const double margin = (kDotRadius + 1) / ppf;
  const auto [dotFirst, dotLast] = keysBetween(keys, std::max(0.0, tl - margin), std::min(duration, tr + margin));
  painter.setPen(QPen(QColor(20, 20, 22), 1));
  painter.setBrush(color);
  for (std::size_t k = dotFirst; k < dotLast; ++k)
    painter.drawEllipse(point(static_cast<double>(keys.keys[k].frame)), kDotRadius, kDotRadius);
  painter.restore();
}

}  // namespace brevelan
