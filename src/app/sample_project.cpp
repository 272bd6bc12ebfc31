#include "app/sample_project.h"

namespace brevelan {
namespace {

TitleSpec title(TitleStyle style, std::string text, std::string subtitle = {}) {
  TitleSpec look;
  look.style = style;
  look.text = std::move(text);
  look.subtitle = std::move(subtitle);
  return look;
}

void appendClip(Track& track, Clip clip) {
  track.clips.push_back(std::move(clip));
}

}  // namespace

Project makeSampleProject() {
  Project project = Project::make();
  project.name = "Sample Project";
  project.bins = {"Media", "Titles"};

  // A short sequence that the main one nests: two colour fields and a wipe.
  BrevSequence inner = BrevSequence::make("Colour Study");
  {
    Track& v1 = inner.video.mut(0);
    appendClip(v1, Clip::make(ClipSource::color({0.85, 0.35, 0.2, 1}), "Warm", 0, 60));
    Clip cool = Clip::make(ClipSource::color({0.15, 0.4, 0.8, 1}), "Cool", 60, 60);
    cool.transitionIn = Transition{TransitionKind::wipe, 20, RGBA::black(), Direction::left};
    appendClip(v1, std::move(cool));
  }

  BrevSequence& main = project.sequences.mut(0);
  main.name = "Main";
  const FrameRate rate = main.rate;
  {
    Track& v1 = main.video.mut(0);
    Clip opening = Clip::make(ClipSource::color({0.1, 0.12, 0.16, 1}), "Background", 0, 90);
    opening.grade.mut().exposure = 0.5;
    opening.grade.mut().master.points = {{0, 0}, {0.5, 0.6}, {1, 1}};
    appendClip(v1, std::move(opening));

    Clip nested = Clip::make(ClipSource::nested(inner.id), inner.name, 90, 120, 0, 120);
    nested.transitionIn = Transition{TransitionKind::crossfade, 20, RGBA::black(), Direction::left};
    nested.speed.rate = 1.0;
    appendClip(v1, std::move(nested));

    Clip ending = Clip::make(ClipSource::color({0.05, 0.05, 0.05, 1}), "Black", 210, 150);
    ending.transitionIn = Transition{TransitionKind::dipToColor, 30, RGBA::black(), Direction::left};
    appendClip(v1, std::move(ending));
  }
  {
    Track& v2 = main.video.mut(1);
    appendClip(v2, Clip::make(ClipSource::title(title(TitleStyle::centered, "Vael Brevelan", "A sample film")),
                              "Title", 0, 90));
    appendClip(v2, Clip::make(ClipSource::title(title(TitleStyle::lowerThird, "Colour Study", "Nested sequence")),
                              "Lower Third", 110, 80));
    appendClip(v2, Clip::make(ClipSource::title(title(TitleStyle::credits,
                                                      "Credits\n\nEditing\nVael Brevelan\n\nColour\nThe Grade")),
                              "End Credits", 210, 150));
  }

  main.markers = {Marker{Uuid::make(), 90, "Nest", 1}, Marker{Uuid::make(), 210, "Credits", 2}};
  main.captions = {Caption{Uuid::make(), rate.frames(0.5), rate.frames(2.5), "Welcome to Vael Brevelan."},
                   Caption{Uuid::make(), rate.frames(3.5), rate.frames(6.5), "Every cut lands on an exact frame."}};

  project.sequences.push_back(std::move(inner));
  return project;
}

}  // namespace brevelan
