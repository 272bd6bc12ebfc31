// The timeline's paint time on a 2 000-clip sequence: the widget rendered into
// an image at a typical zoom, in the middle of the sequence, and zoomed far out.
// On a 20-track project of 2 000 clips: opening the file until the timeline has
// been painted once, and a Ripple drag driven by real mouse events, each
// pointer move previewed and painted.
// Also writes /tmp/timeline.png, a picture of the widget on a varied sequence.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <filesystem>
#include <string>

#include "app/timeline/timeline_view.h"
#include "big_project.h"
#include "edit/editor_model.h"
#include "edit/sequence_queries.h"
#include "media/media_probe.h"
#include "media/thumb_cache.h"
#include "model/project_file.h"

namespace brevelan {
namespace {

// Movies and sounds to show; real files when the shared test data is there.
struct BenchMedia {
  MediaItem movie;
  MediaItem other;
  MediaItem song;
  MediaItem still;
};

MediaItem probed(const std::string& name, MediaKind kind) {
  const std::filesystem::path file = std::filesystem::path(BREVELAN_SHARED_DIR) / "testdata/media" / name;
  if (auto item = MediaProbe().probe(file)) return *item;
  MediaItem item;
  item.id = Uuid::make();
  item.name = name;
  item.kind = kind;
  item.path = file.string();
  item.duration = 20;
  item.hasVideo = kind != MediaKind::audio;
  item.hasAudio = kind != MediaKind::image;
  return item;
}

// Thirty seconds of a beat with a swelling level, written once, so the music
// track has a waveform worth looking at.
MediaItem synthMusic() {
  const std::string path = "/tmp/brevelan-bench-music.wav";
  constexpr int kRate = 48000;
  constexpr int kSeconds = 30;
  if (!std::filesystem::exists(path)) {
    std::ofstream out(path, std::ios::binary);
    const auto u32 = [&](std::uint32_t v) { out.write(reinterpret_cast<const char*>(&v), 4); };
    const auto u16 = [&](std::uint16_t v) { out.write(reinterpret_cast<const char*>(&v), 2); };
    const std::uint32_t bytes = kRate * kSeconds * 2;
    out.write("RIFF", 4);
    u32(36 + bytes);
    out.write("WAVEfmt ", 8);
    u32(16);
    u16(1);
    u16(1);
    u32(kRate);
    u32(kRate * 2);
    u16(2);
    u16(16);
    out.write("data", 4);
    u32(bytes);
    for (int i = 0; i < kRate * kSeconds; ++i) {
      const double t = static_cast<double>(i) / kRate;
      const double beat = std::exp(-std::fmod(t, 0.5) * 9);
      const double swell = 0.35 + 0.3 * std::sin(t * 0.7) + 0.2 * std::sin(t * 2.3);
      const double kick = 0.6 * beat * std::sin(t * 2 * M_PI * 70);
      const double v = swell * (kick + 0.3 * std::sin(t * 2 * M_PI * 440) * (1 - beat));
      u16(static_cast<std::uint16_t>(static_cast<std::int16_t>(std::clamp(v * 1.6, -1.0, 1.0) * 30000)));
    }
  }
  MediaItem item;
  item.id = Uuid::make();
  item.name = "Score";
  item.kind = MediaKind::audio;
  item.path = path;
  item.duration = kSeconds;
  item.hasAudio = true;
  return item;
}

BenchMedia benchMedia() {
  return {probed("filetype_avchd_h264_ac3.mts", MediaKind::video),
          probed("jsonize_iphone4s_rotated.mov", MediaKind::video), synthMusic(),
          probed("filetype_fixture.jpg", MediaKind::image)};
}

// A sequence of `total` clips over three video and three audio tracks: cut
// pictures with their sound linked beneath, B-roll and stills with gaps,
// titles and colour mattes, music; transitions on some cuts, some clips off.
Project makeProject(int total, const BenchMedia& m) {
  Project project = Project::make();
  project.media = {m.movie, m.other, m.song, m.still};
  BrevSequence& seq = project.sequences.mut(0);
  seq.name = "Bench";
  seq.video.push_back(Track::make(TrackKind::video, "V3"));
  seq.audio.push_back(Track::make(TrackKind::audio, "A3"));
  std::uint32_t noise = 12345;
  const auto random = [&](int lo, int hi) {
    noise = noise * 1664525u + 1013904223u;
    return lo + static_cast<int>((noise >> 8) % static_cast<std::uint32_t>(hi - lo + 1));
  };
  const auto limit = [&](const MediaItem& item) { return item.sourceLimit(seq.rate); };

  std::int64_t at[6] = {0, 40, 20, 0, 0, 0};
  int made = 0;
  while (made < total) {
    // A1 and V1: a cut with its sound.
    const MediaItem& source = random(0, 3) == 0 ? m.other : m.movie;
    const std::int64_t length = random(45, 130);
    Clip picture = Clip::make(ClipSource::media(source.id), source.name, at[0], length, 0, limit(source));
    const std::int64_t room = picture.sourceLimit ? std::max<std::int64_t>(0, *picture.sourceLimit - length) : 0;
    picture.sourceIn = room > 0 ? random(0, static_cast<int>(std::min<std::int64_t>(room, 400))) : 0;
    if (picture.sourceLimit && picture.sourceIn + length > *picture.sourceLimit) {
      picture.duration = std::max<std::int64_t>(1, *picture.sourceLimit - picture.sourceIn);
    }
    picture.linkID = Uuid::make();
    if (random(0, 4) == 0 && at[0] > 0) picture.transitionIn = Transition{TransitionKind::crossfade, 20};
    if (seq.video[0].clips.size() % 23 == 6) picture.enabled = false;
    Clip sound = picture;
    sound.id = Uuid::make();
    sound.transitionIn.reset();
    at[0] += picture.duration;
    seq.video.mut(0).clips.push_back(picture);
    seq.audio.mut(0).clips.push_back(sound);
    made += 2;
    if (made >= total) break;

    // V2: B-roll and stills with gaps.
    if (random(0, 1) == 0) {
      const bool still = random(0, 2) == 0;
      const MediaItem& b = still ? m.still : m.other;
      const std::int64_t len = random(40, 90);
      Clip roll = Clip::make(ClipSource::media(b.id), b.name, at[1], len, 0, limit(b));
      if (roll.sourceLimit) roll.duration = std::min(len, *roll.sourceLimit);
      at[1] += roll.duration + random(20, 160);
      seq.video.mut(1).clips.push_back(roll);
      ++made;
    }
    // V3: titles and mattes.
    if (random(0, 2) == 0 && made < total) {
      const std::size_t n = seq.video[2].clips.size();
      Clip top = n % 3 == 1 ? Clip::make(ClipSource::color({0.85, 0.35, 0.2, 1}), "Color", at[2], 60)
                 : n % 3 == 2 ? Clip::make(ClipSource::nested(Uuid::make()), "Nested: Intro", at[2], 90)
                              : Clip::make(ClipSource::title({}), "Lower Third", at[2], random(60, 120));
      at[2] += top.duration + random(120, 400);
      seq.video.mut(2).clips.push_back(top);
      ++made;
    }
    // A2: music in long pieces.
    if (random(0, 3) == 0 && made < total) {
      const std::int64_t len = random(90, 240);
      Clip music = Clip::make(ClipSource::media(m.song.id), m.song.name, at[4], len, random(0, 400), limit(m.song));
      at[4] += music.duration + random(0, 60);
      seq.audio.mut(1).clips.push_back(music);
      ++made;
    }
  }
  for (int k = 1; k < 40; ++k) seq.markers.push_back(Marker{Uuid::make(), k * 311, "Marker", k % 8});
  project.activeSequenceID = seq.id;
  return project;
}

int clipCount(const BrevSequence& seq) {
  int n = 0;
  for (const Track& t : seq.video) n += static_cast<int>(t.clips.size());
  for (const Track& t : seq.audio) n += static_cast<int>(t.clips.size());
  return n;
}

void paint(benchmark::State& state, double pixelsPerFrame, double at) {
  static const BenchMedia media = benchMedia();
  EditorModel editor(makeProject(2000, media));
  editor.setPixelsPerFrame(pixelsPerFrame);
  TimelineView view(editor);
  view.resize(1600, 520);
  view.setScrollX(static_cast<double>(editor.activeSequence()->duration()) * pixelsPerFrame * at);
  QImage image(view.size(), QImage::Format_ARGB32_Premultiplied);
  view.render(&image);  // the first paint asks for artwork; later ones only draw
  for (auto _ : state) {
    view.render(&image);
    benchmark::DoNotOptimize(image.constBits());
  }
  state.counters["clips"] = clipCount(*editor.activeSequence());
}

void BM_PaintTypicalZoomStart(benchmark::State& state) { paint(state, 3, 0); }
void BM_PaintTypicalZoomMiddle(benchmark::State& state) { paint(state, 3, 0.5); }
void BM_PaintZoomedOutWhole(benchmark::State& state) { paint(state, 0.02, 0); }

BENCHMARK(BM_PaintTypicalZoomStart)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PaintTypicalZoomMiddle)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PaintZoomedOutWhole)->Unit(benchmark::kMillisecond);

// The 20 × 100-clip project, saved once.
const std::filesystem::path& bigProjectFile() {
  static const std::filesystem::path file = [] {
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / (std::string("brevelan-bench-big") + ProjectFile::kExtension);
    if (!ProjectFile::save(bench::makeBigProject(20, 100), path)) std::abort();
    return path;
  }();
  return file;
}

constexpr QSize kOpenSize(1600, 600);

// File ▸ Open with the window already up: the file read and decoded, the
// timeline laid out again for it and painted once.
double openAndPaint(EditorModel& editor, TimelineView& view, QImage& image) {
  QElapsedTimer timer;
  timer.start();
  if (!editor.open(bigProjectFile())) std::abort();
  view.render(&image);
  return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

void BM_OpenBigProjectIntoTimeline(benchmark::State& state) {
  QImage image(kOpenSize, QImage::Format_ARGB32_Premultiplied);
  for (auto _ : state) {
    EditorModel editor(Project::make());
    TimelineView view(editor);
    view.resize(kOpenSize);
    view.render(&image);
    state.SetIterationTime(openAndPaint(editor, view, image));
    benchmark::DoNotOptimize(image.constBits());
    if (clipCount(*editor.activeSequence()) != 2000) std::abort();
  }
}

// The same with the timeline made after the project is in, as when the
// window opens on a document.
void BM_OpenBigProjectThenMakeTimeline(benchmark::State& state) {
  QImage image(kOpenSize, QImage::Format_ARGB32_Premultiplied);
  for (auto _ : state) {
    EditorModel editor(Project::make());
    QElapsedTimer timer;
    timer.start();
    if (!editor.open(bigProjectFile())) std::abort();
    TimelineView view(editor);
    view.resize(kOpenSize);
    view.render(&image);
    state.SetIterationTime(static_cast<double>(timer.nsecsElapsed()) / 1e9);
    benchmark::DoNotOptimize(image.constBits());
  }
}

// The very first open of the process, with nothing warm yet (fonts, caches).
void reportFirstOpen() {
  bigProjectFile();
  EditorModel editor(Project::make());
  TimelineView view(editor);
  view.resize(kOpenSize);
  QImage image(kOpenSize, QImage::Format_ARGB32_Premultiplied);
  view.render(&image);  // the empty window, already up
  const double seconds = openAndPaint(editor, view, image);
  std::printf("first open of the 20 x 100-clip project until painted: %.0f ms\n", seconds * 1000);
}

BENCHMARK(BM_OpenBigProjectIntoTimeline)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenBigProjectThenMakeTimeline)->UseManualTime()->Unit(benchmark::kMillisecond);

// A Ripple drag of a clip's tail on the top track of the opened project, with
// real mouse events: each iteration moves the pointer one step (swinging
// 1 to 240 pixels right of the press), which previews the ripple, and paints
// the view. Every later clip on the track moves with each step.
void BM_RippleDragBigProject(benchmark::State& state) {
  EditorModel editor(Project::make());
  TimelineView view(editor);
  view.resize(kOpenSize);
  QImage image(kOpenSize, QImage::Format_ARGB32_Premultiplied);
  if (!editor.open(bigProjectFile())) std::abort();
  editor.setTool(Tool::ripple);
  view.render(&image);

  const BrevSequence& seq = *editor.activeSequence();
  const TrackRef top{TrackKind::video, static_cast<std::int64_t>(seq.video.size()) - 1};
  const Clip grabbed = trackAt(seq, top).clips[2];
  const QPoint press(static_cast<int>(view.xOf(grabbed.end())) - 2, view.laneRect(top).center().y());
  QTest::mousePress(&view, Qt::LeftButton, {}, press);
  // Far enough for the press to become a drag.
  QTest::mouseMove(&view, press + QPoint(8, 0));

  // Every move must reach the editor as a new preview, or the figure means nothing.
  std::int64_t previews = 0;
  const std::uint64_t watch = editor.subscribe([&](Field field) { previews += field == Field::project; });
  int step = 0;
  QElapsedTimer wall;
  wall.start();
  for (auto _ : state) {
    step = step % 240 + 1;
    const int dx = step <= 120 ? 2 * step : 2 * (240 - step) + 1;
    QTest::mouseMove(&view, press + QPoint(dx, 0));
    view.render(&image);
    benchmark::DoNotOptimize(image.constBits());
  }
  // Wall time, not this thread's CPU time: what the user waits for.
  const double seconds = static_cast<double>(wall.nsecsElapsed()) / 1e9;
  editor.unsubscribe(watch);
  if (previews != static_cast<std::int64_t>(state.iterations())) std::abort();
  // Away from every snap point, so the drag surely ends as a change.
  QTest::mouseMove(&view, press + QPoint(40, 0));
  QTest::mouseRelease(&view, Qt::LeftButton, {}, press + QPoint(40, 0));
  if (editor.history().undoSteps().size() != 1 || editor.history().undoSteps().back().name != "Ripple") std::abort();
  state.counters["updates/s"] = static_cast<double>(state.iterations()) / seconds;
}

BENCHMARK(BM_RippleDragBigProject)->UseRealTime()->Unit(benchmark::kMillisecond);

// The picture of the widget: the start of the sequence, a selection, marks,
// once the thumbnails and waveforms have arrived.
void writeScreenshot(const char* path) {
  const BenchMedia media = benchMedia();
  EditorModel editor(makeProject(2000, media));
  editor.setPixelsPerFrame(2.2);
  const BrevSequence& seq = *editor.activeSequence();
  editor.select(seq.video[0].clips[3].id, false);
  if (!seq.video[2].clips.empty()) editor.select(seq.video[2].clips[0].id, true);
  editor.setMarkIn(260);
  editor.setMarkOut(420);
  editor.setPlayhead(333);
  editor.setTrackMuted({TrackKind::audio, 2}, true);
  editor.setTrackSolo({TrackKind::audio, 0}, true);
  editor.setTrackLocked({TrackKind::video, 2}, true);
  TimelineView view(editor);
  view.resize(1600, 520);
  QImage image(view.size(), QImage::Format_ARGB32_Premultiplied);
  QElapsedTimer timer;
  timer.start();
  // Artwork arrives in the background; paint until it has settled.
  while (timer.elapsed() < 4000) {
    view.render(&image);
    QApplication::processEvents(QEventLoop::AllEvents, 50);
    ThumbCache::shared().waitIdle();
  }
  QApplication::processEvents();
  view.render(&image);
  image.save(path);
  std::printf("wrote %s\n", path);
}

}  // namespace
}  // namespace brevelan

int main(int argc, char** argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  brevelan::reportFirstOpen();
  brevelan::writeScreenshot("/tmp/timeline.png");
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
