#include "app/media_commands.h"

#include <nlohmann/json.hpp>

#include <ostream>

#include "app/sample_project.h"
#include "edit/media_import.h"
#include "media/demo_media.h"
#include "media/derived_makers.h"
#include "media/media_probe.h"
#include "model/file_error.h"
#include "model/json_writer.h"
#include "model/project_coding.h"
#include "model/project_file.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

// The item exactly as a project file stores it: encoded inside a project,
// then taken out again.
std::string itemJSON(const MediaItem& item) {
  Project holder;
  holder.media.push_back(item);
  JsonWriter writer;
  coding::write(writer, holder);
  return nlohmann::json::parse(writer.take())["media"][0].dump(2);
}

void shiftTracks(SharedList<Track>& tracks, std::int64_t offset) {
  for (std::size_t t = 0; t < tracks.size(); ++t) {
    Track& track = tracks.mut(t);
    for (std::size_t c = 0; c < track.clips.size(); ++c) track.clips.mut(c).start += offset;
  }
}

Clip mediaClip(const MediaItem& item, const FrameRate& rate, std::int64_t start, std::int64_t duration) {
  return Clip::make(ClipSource::media(item.id), item.name, start, duration, 0, item.sourceLimit(rate));
}

}  // namespace

int runProbeCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.empty()) {
    err << "brevelan: usage: brevelan probe FILE… (see brevelan --help)\n";
    return 2;
  }
  const MediaProbe prober;
  int status = 0;
  for (const std::string& file : args) {
    auto item = prober.probe(file);
    if (item) {
      out << itemJSON(*item) << "\n";
    } else {
      err << "brevelan: " << item.error().message << "\n";
      status = 1;
    }
  }
  return status;
}

Expected<Project, std::string> makeSampleProjectWithMedia(const fs::path& folder, const MediaProber& prober,
                                                         const std::function<void(const std::string&)>& step) {
  auto media = writeDemoMedia(folder, step);
  if (!media) return Unexpected{media.error()};
  std::vector<MediaItem> items;
  for (const fs::path& file : {media->bars, media->uhd, media->phone, media->tone, media->click, media->picture}) {
    auto item = prober.probe(file);
    if (!item) return Unexpected{item.error().message};
    item->bin = "Media";
    // As an import would: large movies get their playback proxy.
    if (wantsProxy(*item)) {
      if (auto proxy = ProxyMaker::make(*item)) item->proxyPath = proxy->path;
    }
    items.push_back(std::move(item.value()));
  }
  const MediaItem& bars = items[0];
  const MediaItem& uhd = items[1];
  const MediaItem& phone = items[2];
  const MediaItem& tone = items[3];
  const MediaItem& click = items[4];
  const MediaItem& still = items[5];

  Project project = makeSampleProject();
  for (const MediaItem& item : items) project.media.push_back(item);
  BrevSequence& main = project.sequences.mut(0);
  const FrameRate rate = main.rate;

  // The media open the film; everything of the plain sample follows them.
  constexpr std::int64_t kMediaBlock = 330;
  shiftTracks(main.video, kMediaBlock);
  shiftTracks(main.audio, kMediaBlock);
  std::vector<Marker> markers{Marker{Uuid::make(), 60, "Sync flash", 3}};
  for (Marker marker : main.markers) {
    marker.frame += kMediaBlock;
    markers.push_back(marker);
  }
  main.markers = SharedList<Marker>(std::move(markers));
  std::vector<Caption> captions{Caption{Uuid::make(), rate.frames(0.5), rate.frames(1.9), "Colour bars."},
                                Caption{Uuid::make(), rate.frames(6.2), rate.frames(8.8), "Shot upright on a phone."}};
  for (Caption caption : main.captions) {
    caption.start += kMediaBlock;
    caption.end += kMediaBlock;
    captions.push_back(caption);
  }
  main.captions = SharedList<Caption>(std::move(captions));

  std::vector<Clip> v1{mediaClip(bars, rate, 0, 120), mediaClip(uhd, rate, 120, 60), mediaClip(phone, rate, 180, 90),
                       Clip::make(ClipSource::media(still.id), still.name, 270, 60)};
  v1[1].transitionIn = Transition{TransitionKind::crossfade, 15, RGBA::black(), Direction::left};
  v1[3].transitionIn = Transition{TransitionKind::push, 15, RGBA::black(), Direction::left};
  std::vector<Clip> a1{mediaClip(bars, rate, 0, 120), mediaClip(phone, rate, 180, 90)};
  v1[0].linkID = a1[0].linkID = Uuid::make();
  v1[2].linkID = a1[1].linkID = Uuid::make();
  std::vector<Clip> a2{mediaClip(click, rate, 0, 240), mediaClip(tone, rate, 240, 90)};
  a2[0].name = "Music";
  a2[0].audio.mut().gainDB = -12;
  a2[1].audio.mut().gainDB = -18;
  a2[1].audio.mut().fadeIn = 15;
  a2[1].audio.mut().fadeOut = 15;

  const auto prepend = [](Track& track, std::vector<Clip> clips) {
    for (const Clip& clip : track.clips) clips.push_back(clip);
    track.clips = SharedList<Clip>(std::move(clips));
  };
  prepend(main.video.mut(0), std::move(v1));
  prepend(main.audio.mut(0), std::move(a1));
  prepend(main.audio.mut(1), std::move(a2));
  return project;
}

int runDemoCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 1) {
    err << "brevelan: usage: brevelan demo DIR (see brevelan --help)\n";
    return 2;
  }
  const fs::path folder = args[0];
  const MediaProbe prober;
  auto project = makeSampleProjectWithMedia(folder, prober, [&](const std::string& name) {
    out << "Writing " << (folder / name).string() << "\n" << std::flush;
  });
  if (!project) {
    err << "brevelan: could not write the demo media: " << project.error() << "\n";
    return 1;
  }
  const fs::path file = folder / "Sample.brevelan";
  auto saved = ProjectFile::save(*project, file);
  if (!saved) {
    err << "brevelan: " << saved.error().message << "\n";
    return 1;
  }
  out << "Wrote " << file.string() << "\n";
  return 0;
}

}  // namespace brevelan
