#pragma once

#include <QImage>
#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

#include "app/playback/stem_mix.h"
#include "edit/editor_services.h"
#include "model/frame_rate.h"
#include "model/sequence.h"
#include "sound/stems.h"

namespace brevelan {

class CompositionBuild;

// Plays a composition build: pictures are drawn ahead on worker threads by
// the compositor, the stems play through the sound device with each track's
// volume and pan applied live, and the sound clock leads — a picture that is
// late is dropped, never shown out of step. Without a sound device it plays
// silently on a steady clock and says so once. Lives on the main thread;
// its signals arrive there.
class PlaybackEngine : public QObject, public ProgramPlayer {
  Q_OBJECT
 public:
  explicit PlaybackEngine(QObject* parent = nullptr);
  ~PlaybackEngine() override;

  // 0 pauses, 1 plays; J/K/L shuttle uses ±1, ±2, ±4, ±8. Backwards and
  // faster than 1× play the picture only.
  float rate() const override;
  void setRate(float rate) override;
  // A new build, keeping the position and rate (an edit while playing goes
  // on playing). A null build shows nothing.
  void replaceItem(const std::shared_ptr<const ProgramBuild>& build, const BrevSequence& seq) override;
  // Faders, pan, mute and solo changed: new volumes at once, same picture.
  void updateAudioMix(const ProgramBuild& build, const BrevSequence& seq) override;
  void seek(std::int64_t frame, const FrameRate& rate) override;

  std::int64_t position() const;
  std::int64_t duration() const;
  bool soundAvailable() const;
  // Playback measurement since the last seek or rate change.
  std::int64_t framesShown() const;
  std::int64_t framesDropped() const;
  // Pictures drawn by the workers since the engine was made.
  std::int64_t framesDrawn() const;
  // What one picture costs the compositor's workers on average.
  double averageDrawMilliseconds() const;
  // The gain each stem plays at now (after the last replaceItem or updateAudioMix).
  std::vector<StemGain> soundGains() const;

 Q_SIGNALS:
  // The picture for `frame`, ready to show.
  void frameShown(QImage picture, qint64 frame);
  // About 60 times a second while playing, and once after a seek.
  void positionChanged(qint64 frame);
  // Playback reached the end (or the start, backwards) and paused.
  void reachedEnd();
  // Meter values after each track's fader, about 30 times a second while playing.
  void metersChanged(brevelan::Meters meters);
  // Emitted once per engine when there is no sound device.
  void soundUnavailable(QString message);

 private:
  struct State;
  void tick();
  void landed();
  void restartClock();
  void showStill();
  void show(std::int64_t frame, QImage picture);
  void announce(std::int64_t frame);
  void startSound();
  void stopSound();
  void restartSound();
  void playSilently();
  void pauseAtEnd(std::int64_t frame);
  double clockFrame();
  std::unique_ptr<State> state_;
};

}  // namespace brevelan
