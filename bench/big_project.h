#pragma once

#include <string>

#include "model/project.h"

namespace brevelan::bench {

// A large project: `tracks` tracks of `clips` clips each, half video, half
// sound; every clip has volume keys and a curve, and shows a title or a media file.
inline Project makeBigProject(int tracks = 20, int clips = 100) {
  Project project = Project::make();
  std::vector<MediaItem> media;
  for (int i = 0; i < 50; ++i) {
    MediaItem item;
    item.id = Uuid::make();
    item.name = "clip" + std::to_string(i) + ".mov";
    item.path = "/media/footage/" + item.name;
    item.duration = 120;
    item.width = 1920;
    item.height = 1080;
    item.nominalFPS = 30;
    item.hasVideo = item.hasAudio = true;
    item.bin = "Media";
    media.push_back(item);
  }
  project.media = SharedList<MediaItem>(media);

  BrevSequence& seq = project.sequences.mut(0);
  seq.video.clear();
  seq.audio.clear();
  for (int t = 0; t < tracks; ++t) {
    const bool video = t < tracks / 2;
    Track track = Track::make(video ? TrackKind::video : TrackKind::audio,
                              (video ? "V" : "A") + std::to_string(t % (tracks / 2) + 1));
    std::vector<Clip> list;
    for (int c = 0; c < clips; ++c) {
      ClipSource source = (video && c % 2 == 1)
                              ? ClipSource::title(TitleSpec{TitleStyle::lowerThird, "Title " + std::to_string(c),
                                                            "Subtitle", "DejaVu Sans", 64, RGBA::white(),
                                                            RGBA::black(), true, false, 12})
                              : ClipSource::media(media[static_cast<std::size_t>(c) % media.size()].id);
      Clip clip = Clip::make(std::move(source), "Clip " + std::to_string(c), c * 120, 100, 10, 3600);
      clip.audio.mut().volumeKeys.keys = {{0, -6}, {25, 0}, {75, 0}, {99, -12}};
      clip.grade.mut().master.points = {{0, 0}, {0.25, 0.3}, {0.75, 0.8}, {1, 1}};
      list.push_back(std::move(clip));
    }
    track.clips = SharedList<Clip>(std::move(list));
    (video ? seq.video : seq.audio).push_back(std::move(track));
  }
  return project;
}

}  // namespace brevelan::bench
