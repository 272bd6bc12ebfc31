#include "app/playback/playback_engine.h"

namespace brevelan {

// Placeholder until the engine lands: holds position and rate only.
struct PlaybackEngine::State {
  float rate = 0;
  std::int64_t position = 0;
};

PlaybackEngine::PlaybackEngine(QObject* parent) : QObject(parent), state_(std::make_unique<State>()) {}
PlaybackEngine::~PlaybackEngine() = default;
float PlaybackEngine::rate() const { return state_->rate; }
void PlaybackEngine::setRate(float rate) { state_->rate = rate; }
void PlaybackEngine::replaceItem(const std::shared_ptr<const ProgramBuild>&, const BrevSequence&) {}
void PlaybackEngine::updateAudioMix(const ProgramBuild&, const BrevSequence&) {}
void PlaybackEngine::seek(std::int64_t frame, const FrameRate&) {
  state_->position = frame;
  Q_EMIT positionChanged(frame);
}
std::int64_t PlaybackEngine::position() const { return state_->position; }
std::int64_t PlaybackEngine::duration() const { return 0; }
bool PlaybackEngine::soundAvailable() const { return false; }
std::int64_t PlaybackEngine::framesShown() const { return 0; }
std::int64_t PlaybackEngine::framesDropped() const { return 0; }

}  // namespace brevelan
