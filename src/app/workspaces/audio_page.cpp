#include "app/workspaces/audio_page.h"

#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include "app/kit/kit_palette.h"
#include "app/playback/voice_over_recorder.h"
#include "app/workspaces/audio_clip_sound.h"
#include "app/workspaces/audio_strip.h"
#include "app/workspaces/voice_over_meter.h"
#include "edit/editor_model.h"
#include "media/media_probe.h"

namespace brevelan {
namespace {

TrackRef audioTrack(std::int64_t index) { return TrackRef{TrackKind::audio, index}; }

}  // namespace

AudioPage::AudioPage(EditorModel& editor, PlaybackEngine&, QWidget* parent) : QWidget(parent), editor_(editor) {
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(8, 8, 8, 8);
  row->setSpacing(8);

  // The mixer: a header with the playhead, then the strips and the master.
  auto* mixer = new QWidget(this);
  auto* mixerColumn = new QVBoxLayout(mixer);
  mixerColumn->setContentsMargins(0, 0, 0, 0);
  mixerColumn->setSpacing(8);
  auto* head = new QHBoxLayout;
  auto* title = new QLabel("Mixer", mixer);
  title->setStyleSheet(QString("font-weight: bold; font-size: 14px; color: %1;").arg(kit::kText.name()));
  timecode_ = new kit::LcdReadout("00:00:00:00", 11, mixer);
  timecode_->setToolTip("Playhead");
  record_ = new kit::IconButton(kit::IconButton::Glyph::record, mixer);
  record_->setObjectName("record");
  record_->setAccessibleName("Record voice-over");
  record_->setFocusPolicy(Qt::TabFocus);  // a click leaves the keyboard with the timeline
  inputMeter_ = new VoiceOverMeter(mixer);
  inputMeter_->setObjectName("voice-over level");
  head->addWidget(title);
  head->addStretch(1);
  head->addWidget(inputMeter_, 0, Qt::AlignVCenter);
  head->addSpacing(4);
  head->addWidget(record_, 0, Qt::AlignVCenter);
  head->addSpacing(8);
  head->addWidget(timecode_);
  mixerColumn->addLayout(head);

  auto* stripsHost = new QWidget;
  stripRow_ = new QHBoxLayout(stripsHost);
  stripRow_->setContentsMargins(0, 0, 0, 0);
  stripRow_->setSpacing(4);
  noTracks_ = new QLabel("No audio tracks in this sequence.", stripsHost);
  noTracks_->setStyleSheet(QString("color: %1;").arg(kit::kDimText.name()));
  stripRow_->addWidget(noTracks_);
  stripRow_->addStretch(1);
  auto* scroll = new QScrollArea(mixer);
  scroll->setWidget(stripsHost);
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

  auto* strips = new QHBoxLayout;
  strips->setSpacing(8);
  strips->addWidget(scroll, 1);
  master_ = new AudioStrip("Master", true, mixer);
  strips->addWidget(master_);
  mixerColumn->addLayout(strips, 1);
  row->addWidget(mixer, 1);

  auto* clipScroll = new QScrollArea(this);
  clipSound_ = new AudioClipSound(editor_, clipScroll);
  clipScroll->setWidget(clipSound_);
  clipScroll->setWidgetResizable(true);
  clipScroll->setFrameShape(QFrame::NoFrame);
  clipScroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  clipScroll->setMinimumWidth(clipSound_->minimumWidth() + clipScroll->verticalScrollBar()->sizeHint().width());
  row->addWidget(clipScroll, 0);

  // The master fader: sound only, the player applies it live.
  connect(master_->fader(), &kit::Fader::valueChanged, this, [this] {
    if (refreshing_) return;
    const double dB = master_->storedLevel();
    editor_.editSeq("Master Volume", true, false, [&](BrevSequence& seq) { seq.masterDB = dB; });
  });

  // The recorder the editor records with; the page only shows its level.
  recorder_ = std::dynamic_pointer_cast<VoiceOverRecorder>(editor_.voiceOverInput());
  if (!recorder_) {
    recorder_ = std::make_shared<VoiceOverRecorder>();
    editor_.setVoiceOverInput(recorder_, std::make_shared<MediaProbe>());
  }
  connect(recorder_.get(), &VoiceOverRecorder::levelChanged, inputMeter_, &VoiceOverMeter::setLevel);
  connect(record_, &QAbstractButton::clicked, this, [this] { toggleRecording(); });

  subscription_ = editor_.subscribe([this](Field field) {
    switch (field) {
      case Field::voiceOverActive: return refreshRecording();
      case Field::project: return refreshMixer();
      case Field::meters:
      case Field::masterMeter: return refreshMeters();
      case Field::playhead: return refreshPlayhead();
      default: return;
    }
  });
  refreshMixer();
  refreshMeters();
  refreshRecording();
}

AudioPage::~AudioPage() { editor_.unsubscribe(subscription_); }

void AudioPage::toggleRecording() {
  (void)editor_.toggleVoiceOver();
  // A take that could not start leaves the button as it was.
  refreshRecording();
}

void AudioPage::refreshRecording() {
  const bool on = editor_.state().voiceOverActive;
  record_->setChecked(on);
  record_->setToolTip(on ? "Stop recording the voice-over (Ctrl+Alt+R)"
                         : "Press the red microphone in the mixer (or Ctrl+Alt+R). Recording starts at the playhead "
                           "while the sequence plays; press again to stop.");
  inputMeter_->setLevel(on ? recorder_->level() : 0);
  inputMeter_->setVisible(on);
}

std::int64_t AudioPage::trackIndex(const AudioStrip* strip) const {
  const BrevSequence* sequence = editor_.activeSequence();
  if (!sequence) return -1;
  for (std::size_t i = 0; i < sequence->audio.size(); ++i)
    if (sequence->audio[i].id == strip->track) return static_cast<std::int64_t>(i);
  return -1;
}

void AudioPage::rebuildStrips() {
  for (AudioStrip* strip : strips_) {
    // A strip may be rebuilt from inside one of its own signals.
    strip->hide();
    strip->deleteLater();
  }
  strips_.clear();
  const BrevSequence* sequence = editor_.activeSequence();
  if (!sequence) return;
  for (const Track& track : sequence->audio) {
    auto* strip = new AudioStrip(QString::fromStdString(track.name), false, stripRow_->parentWidget());
    strip->track = track.id;
    stripRow_->insertWidget(static_cast<int>(strips_.size()), strip);
    strips_.push_back(strip);

    // Fader, pan, mute and solo change only the sound: no picture rebuild.
    connect(strip->fader(), &kit::Fader::valueChanged, this, [this, strip] {
      const std::int64_t index = trackIndex(strip);
      if (refreshing_ || index < 0) return;
      const double dB = strip->storedLevel();
      editor_.editSeq("Volume", true, false,
                      [&](BrevSequence& seq) { seq.audio.mut(static_cast<std::size_t>(index)).volumeDB = dB; });
    });
    connect(strip->pan(), &kit::Knob::valueChanged, this, [this, strip](double pan) {
      const std::int64_t index = trackIndex(strip);
      if (refreshing_ || index < 0) return;
      editor_.editSeq("Pan", true, false,
                      [&](BrevSequence& seq) { seq.audio.mut(static_cast<std::size_t>(index)).pan = pan; });
    });
    connect(strip->mute(), &kit::IconButton::toggled, this, [this, strip](bool on) {
      const std::int64_t index = trackIndex(strip);
      if (!refreshing_ && index >= 0) editor_.setTrackMuted(audioTrack(index), on);
    });
    connect(strip->solo(), &kit::IconButton::toggled, this, [this, strip](bool on) {
      const std::int64_t index = trackIndex(strip);
      if (!refreshing_ && index >= 0) editor_.setTrackSolo(audioTrack(index), on);
    });
  }
}

void AudioPage::refreshMixer() {
  const BrevSequence* sequence = editor_.activeSequence();
  bool sameTracks = sequence && sequence->audio.size() == strips_.size();
  for (std::size_t i = 0; sameTracks && i < strips_.size(); ++i) sameTracks = strips_[i]->track == sequence->audio[i].id;
  if (!sameTracks) rebuildStrips();
  noTracks_->setVisible(strips_.empty());
  master_->setEnabled(sequence != nullptr);

  refreshing_ = true;
  if (sequence) {
    for (std::size_t i = 0; i < strips_.size(); ++i) {
      const Track& track = sequence->audio[i];
      strips_[i]->setName(QString::fromStdString(track.name));
      strips_[i]->showLevel(track.volumeDB);
      strips_[i]->showPan(track.pan);
      strips_[i]->showSwitches(track.muted, track.solo);
    }
    master_->showLevel(sequence->masterDB);
  }
  refreshing_ = false;
  refreshPlayhead();
}

void AudioPage::refreshMeters() {
  const auto& meters = editor_.state().meters;
  for (AudioStrip* strip : strips_) {
    const auto found = meters.find(strip->track);
    const StereoLevel level = found == meters.end() ? StereoLevel{} : found->second;
    strip->meter()->setLevels(level.left, level.right);
  }
  const StereoLevel master = editor_.state().masterMeter;
  master_->meter()->setLevels(master.left, master.right);
}

void AudioPage::refreshPlayhead() {
  const BrevSequence* sequence = editor_.activeSequence();
  timecode_->setText(QString::fromStdString(sequence ? sequence->rate.timecode(editor_.state().playhead)
                                                     : FrameRate{}.timecode(0)));
}

}  // namespace brevelan
