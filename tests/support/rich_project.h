#pragma once

#include "model/project.h"

namespace brevelan::testing {

// A project that holds every kind of record and every enumeration value at
// least once, with non-default values throughout, so a round trip that drops
// or mixes up any field shows.
inline Project makeRichProject() {
  Project p = Project::make();
  p.name = "Rich — “quoted” ünïcode";
  p.bins = {"Media", "Music", "B-Roll"};

  MediaItem movie{Uuid::make(), "clip.mov", MediaKind::video, "/nowhere/clip.mov", std::nullopt, 3.5, 1920, 1080,
                  29.97, true, true, std::string("/nowhere/clip-proxy.mov"), std::string("/nowhere/clip-reversed.mov"),
                  "Media"};
  MediaItem song{Uuid::make(), "song.wav", MediaKind::audio, "/nowhere/song.wav", std::nullopt, 61.25, 0, 0, 0,
                 false, true, std::nullopt, std::nullopt, "Music"};
  MediaItem still{Uuid::make(), "still.png", MediaKind::image, "/nowhere/still.png", std::nullopt, 0, 4000, 3000, 0,
                  true, false, std::nullopt, std::nullopt, "B-Roll"};
  p.media = {movie, song, still};

  BrevSequence inner = BrevSequence::make("Inner", 1280, 720, FrameRate{24000, 1001});
  inner.video.mut(0).clips.push_back(Clip::make(ClipSource::color({0.25, 0.5, 0.75, 0.5}), "Matte", 0, 48));

  BrevSequence& seq = p.sequences.mut(0);
  seq.rate = FrameRate{30000, 1001};
  seq.sampleRate = 44100;
  seq.masterDB = -3.5;
  seq.captionStyle = {"Noto Sans", 52, true, false, 0.12};

  Clip a = Clip::make(ClipSource::media(movie.id), "clip", 10, 90, 5, 104);
  a.linkID = Uuid::make();
  a.speed = {1.5, true, false, 2.5};
  a.transform = Transform{12.5, -7, 1.25, 15, 0.75, 0.1, 0.2, 0.05, 0.15, FitMode::fill,
                 KenBurns{1, 1.3, 0, 0, 40, -20, true}, true};
  a.grade.mut().exposure = 0.7;
  a.grade.mut().contrast = 0.2;
  a.grade.mut().saturation = 1.3;
  a.grade.mut().temperature = -0.4;
  a.grade.mut().tint = 0.1;
  a.grade.mut().lift = {0.1, -0.2, 0.05};
  a.grade.mut().gamma = {-0.3, 0.1, -0.1};
  a.grade.mut().gain = {0.2, 0.2, 0.3};
  a.grade.mut().master.points = {{0, 0}, {0.5, 0.7}, {1, 1}};
  a.grade.mut().red.points = {{0, 0.1}, {1, 0.9}};
  a.grade.mut().lutPath = "/nowhere/look.cube";
  a.grade.mut().lutAmount = 0.6;
  a.transitionIn = Transition{TransitionKind::dipToColor, 24, {1, 1, 1, 1}, Direction::up};
  a.label = 3;

  Clip b = Clip::make(ClipSource::nested(inner.id), "Inner", 100, 48, 0, 48);
  b.enabled = false;
  b.speed.freeze = true;
  b.transform.mut().fit = FitMode::stretch;
  b.transitionIn = Transition{TransitionKind::wipe, 10, RGBA::black(), Direction::right};
  b.grade.mut().enabled = false;

  TitleSpec lower{TitleStyle::lowerThird, "Name", "Role", "DejaVu Serif", 70, {1, 0.9, 0.8, 1}, {0, 0, 0, 0.6},
                  true, true, 15};
  TitleSpec centred = lower;
  centred.style = TitleStyle::centered;
  centred.showBar = false;
  TitleSpec credits = lower;
  credits.style = TitleStyle::credits;
  credits.text = "Credits\n\nDirector\nSomeone";
  Clip c = Clip::make(ClipSource::title(lower), "Lower", 0, 60);
  c.transitionIn = Transition{TransitionKind::push, 8, RGBA::black(), Direction::down};
  Clip d = Clip::make(ClipSource::title(centred), "Centred", 60, 60);
  d.transitionIn = Transition{TransitionKind::zoom, 8, RGBA::black(), Direction::left};
  Clip e = Clip::make(ClipSource::title(credits), "Credits", 120, 60);
  e.transitionIn = Transition{TransitionKind::slide, 8, RGBA::black(), Direction::left};
  Clip f = Clip::make(ClipSource::media(still.id), "still", 200, 150);
  f.transitionIn = Transition{TransitionKind::crossfade, 12, RGBA::black(), Direction::left};

  Clip sound = Clip::make(ClipSource::media(movie.id), "clip", 10, 90, 5, 104);
  sound.linkID = a.linkID;
  sound.speed = a.speed;
  sound.audio.mut().gainDB = -6;
  sound.audio.mut().pan = 0.25;
  sound.audio.mut().volumeKeys.keys = {{0, 0}, {30, -12.5}, {89, 3}};
  sound.audio.mut().panKeys.keys = {{5, -1}, {50, 1}};
  sound.audio.mut().fadeIn = 6;
  sound.audio.mut().fadeOut = 9;
  sound.audio.mut().eqOn = true;
  sound.audio.mut().eq = {1, -2, 3, -4, 5, -6, 7, -8, 9, -10};
  sound.audio.mut().gateOn = true;
  sound.audio.mut().gateThresholdDB = -50;
  sound.audio.mut().compOn = true;
  sound.audio.mut().compThresholdDB = -20;
  sound.audio.mut().compRatio = 3;
  sound.audio.mut().compMakeupDB = 2;
  sound.audio.mut().muted = true;
  Clip music = Clip::make(ClipSource::media(song.id), "song", 0, 1800, 30, 1837);

  seq.video.mut(0).clips = {a, b};
  seq.video.mut(1).clips = {c, d, e, f};
  Track& a1 = seq.audio.mut(0);
  a1.clips = {sound};
  a1.muted = true;
  a1.volumeDB = -2;
  a1.pan = -0.5;
  Track& a2 = seq.audio.mut(1);
  a2.clips = {music};
  a2.solo = true;
  a2.locked = true;
  seq.markers = {Marker{Uuid::make(), 42, "Beat", 4}};
  seq.captions = {Caption{Uuid::make(), 0, 45, "Hello, “world” — line one\nline two"}};

  p.sequences.push_back(inner);
  return p;
}

}  // namespace brevelan::testing
