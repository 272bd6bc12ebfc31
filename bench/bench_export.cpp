// Export speed, side by side with FFmpeg on the same machine: the 60-second
// 1080p30 timeline below (two layers, one crossfade, a grade, a lower third,
// two sound tracks) exported with "YouTube 1080p" and "Master — ProRes 422",
// against
//   1. `ffmpeg` drawing the same composition with a filter graph (xfade, a
//      3D LUT of the same grade, the title overlaid, amix) at the same
//      libx264 preset and bit rate;
//   2. a bare libx264 encode of our own composed frames (decoded back from
//      our export into raw frames in memory first), the floor.
// Both encode with the x264 options our writer sets beyond the preset. The
// same comparison with a bare encode is made for a timeline with nothing to
// draw (the first movie alone, with its sound), which shows what decoding the
// source and encoding the sound cost on top of the encoder by themselves.
// Run: bench_export [WORK-DIR] [--project-only]. Media are written once into
// WORK-DIR, with the timeline as bench.brevelan.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "deliver/exporter.h"
#include "media/demo_media.h"
#include "media/media_writer.h"
#include "media/still_image.h"
#include "model/project_file.h"
#include "picture/color_grading.h"
#include "picture/composition_builder.h"
#include "picture/frame_renderer.h"
#include "picture/gui_environment.h"
#include "picture/title_renderer.h"

namespace fs = std::filesystem;
using namespace brevelan;

namespace {

volatile std::uint8_t benchmarkSink;

double seconds(const std::function<void()>& work) {
  const auto began = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
}

double run(const std::string& command) {
  return seconds([&] {
    if (std::system(command.c_str()) != 0) std::cerr << "failed: " << command << "\n";
  });
}

void must(const Expected<void, std::string>& made) {
  if (!made) {
    std::cerr << made.error() << "\n";
    std::exit(1);
  }
}

ColorGrade benchGrade() {
  ColorGrade grade;
  grade.exposure = 0.3;
  grade.saturation = 1.25;
  grade.contrast = 0.1;
  return grade;
}

TitleSpec benchTitle() {
  TitleSpec title;
  title.text = "Vael Brevelan";
  title.subtitle = "Export benchmark";
  title.fadeFrames = 0;  // the filter graph overlays it without a fade
  return title;
}

// The grade as a .cube file for FFmpeg's lut3d.
void writeCube(const fs::path& file) {
  const std::vector<float> cube = cubeData(benchGrade());
  std::ofstream out(file);
  out << "LUT_3D_SIZE 33\n";
  for (std::size_t i = 0; i < cube.size(); i += 4) out << cube[i] << " " << cube[i + 1] << " " << cube[i + 2] << "\n";
}

}  // namespace

int main(int argc, char** argv) {
  const fs::path dir = argc > 1 ? fs::path(argv[1]) : fs::temp_directory_path() / "brevelan-export-bench";
  fs::create_directories(dir);
  ensureGuiEnvironment();
  const fs::path movie = dir / "a.mov", second = dir / "b.mov", music = dir / "music.wav";
  if (!fs::exists(movie) || !fs::exists(second) || !fs::exists(music)) {
    std::cerr << "writing the benchmark media (once)…\n";
    SyntheticMovie m;
    m.frames = 1830;
    m.sound = true;
    m.beepAt = 10;
    must(writeSyntheticMovie(movie, m));
    m.frames = 930;
    must(writeSyntheticMovie(second, m));
    must(writeToneWAV(music, 220, -12, 60, 2));
  }
  writeCube(dir / "grade.cube");
  must(writePNG(*TitleRenderer::shared().still(benchTitle(), 1920, 1080), dir / "title.png"));

  Project project = Project::make();
  const auto addMedia = [&](const fs::path& file, bool video, double duration) {
    MediaItem item;
    item.id = Uuid::make();
    item.path = file.string();
    item.hasVideo = video;
    item.hasAudio = true;
    item.kind = video ? MediaKind::video : MediaKind::audio;
    item.duration = duration;
    project.media.push_back(item);
    return item.id;
  };
  const Uuid a = addMedia(movie, true, 61), b = addMedia(second, true, 31), tone = addMedia(music, false, 60);
  BrevSequence& seq = *project.mutableActiveSequence();
  Clip first = Clip::make(ClipSource::media(a), "A", 0, 900, 0, 1830);
  Clip next = Clip::make(ClipSource::media(b), "B", 900, 900, 15, 930);
  next.transitionIn = Transition{TransitionKind::crossfade, 30};
  next.grade.mut() = benchGrade();
  Clip title = Clip::make(ClipSource::title(benchTitle()), "Title", 150, 300);
  seq.video.mut(0).clips.push_back(first);
  seq.video.mut(0).clips.push_back(next);
  seq.video.mut(1).clips.push_back(title);
  seq.audio.mut(0).clips.push_back(first);
  seq.audio.mut(0).clips.push_back(next);
  seq.audio.mut(1).clips.push_back(Clip::make(ClipSource::media(tone), "Music", 0, 1800, 0, 1800));

  if (auto saved = ProjectFile::save(project, dir / "bench.brevelan"); !saved) std::cerr << saved.error().message << "\n";
  if (argc > 2 && std::string(argv[2]) == "--project-only") return 0;

  const auto exportTime = [](const Project& p, const BrevSequence& s, const char* preset, const fs::path& out) {
    return seconds([&] {
      const auto done = Exporter::exportSequence(p, s, *presetByID(preset), out, false, Reframe::fit, {});
      if (!done) std::cerr << done.error().description() << "\n";
    });
  };
  const auto ours = [&](const char* preset, const fs::path& out) { return exportTime(project, seq, preset, out); };
  const fs::path h264 = dir / "ours.mp4", prores = dir / "ours.mov";
  const double oursH264 = ours("yt1080", h264);
  const double oursProRes = ours("prores", prores);

  Project plainProject = project;
  {
    BrevSequence& plain = *plainProject.mutableActiveSequence();
    const Clip whole = Clip::make(ClipSource::media(a), "A", 0, 1800, 0, 1830);
    plain.video.mut(0).clips = SharedList<Clip>(std::vector<Clip>{whole});
    plain.video.mut(1).clips = SharedList<Clip>();
    plain.audio.mut(0).clips = SharedList<Clip>(std::vector<Clip>{whole});
    plain.audio.mut(1).clips = SharedList<Clip>();
  }
  const fs::path plainOut = dir / "plain.mp4";
  const double oursPlain = exportTime(plainProject, *plainProject.activeSequence(), "yt1080", plainOut);

  const std::string x264 = "-c:v libx264 -preset veryfast -profile:v high -b:v 16M -g 60 -x264-params " + x264Params() +
                           " -pix_fmt yuv420p";
  const std::string graph =
      "ffmpeg -v error -y -t 30.5 -i '" + movie.string() + "' -t 30.5 -i '" + second.string() + "' -i '" +
      (dir / "title.png").string() + "' -i '" + music.string() +
      "' -filter_complex \"[1:v]lut3d=file='" + (dir / "grade.cube").string() +
      "'[g];[0:v][g]xfade=transition=fade:duration=1:offset=29.5[x];"
      "[x][2:v]overlay=enable='between(t,5,15)'[v];"
      "[0:a][1:a]acrossfade=d=1[s];[s][3:a]amix=inputs=2:normalize=0[a]\" -map '[v]' -map '[a]' " +
      x264 + " -c:a aac -b:a 256k '" + (dir / "ffmpeg.mp4").string() + "'";
  const double ffmpegGraph = run(graph);
  // An export's frames, raw, in memory when there is room (5.6 GB), then
  // encoded by x264 alone.
  const bool roomInMemory = fs::exists("/dev/shm") && fs::space("/dev/shm").available > (std::uintmax_t{7} << 30);
  const fs::path raw = (roomInMemory ? fs::path("/dev/shm") : dir) / "brevelan-bench-frames.yuv";
  const auto bareEncode = [&](const fs::path& exported) {
    run("ffmpeg -v error -y -i '" + exported.string() + "' -f rawvideo -pix_fmt yuv420p '" + raw.string() + "'");
    const double took = run("ffmpeg -v error -y -f rawvideo -pix_fmt yuv420p -s 1920x1080 -r 30 -i '" + raw.string() +
                            "' " + x264 + " '" + (dir / "bare.mp4").string() + "'");
    fs::remove(raw);
    return took;
  };
  const double bare = bareEncode(h264);
  const double barePlain = bareEncode(plainOut);

  // Drawing only: 300 frames (10 s) of two layers with a crossfade, the grade
  // on the second and the lower third over both, decoding included.
  Project shortProject = project;
  BrevSequence& shortSeq = *shortProject.mutableActiveSequence();
  {
    Clip a10 = Clip::make(ClipSource::media(a), "A", 0, 150, 750, 1830);
    Clip b10 = Clip::make(ClipSource::media(b), "B", 150, 150, 15, 930);
    b10.transitionIn = Transition{TransitionKind::crossfade, 30};
    b10.grade.mut() = benchGrade();
    shortSeq.video.mut(0).clips = SharedList<Clip>(std::vector<Clip>{a10, b10});
    shortSeq.video.mut(1).clips = SharedList<Clip>(std::vector<Clip>{Clip::make(ClipSource::title(benchTitle()), "T", 0, 300)});
    shortSeq.audio.mut(0).clips = SharedList<Clip>();
    shortSeq.audio.mut(1).clips = SharedList<Clip>();
  }
  const double oursDrawing = seconds([&] {
    const auto build = buildComposition(shortProject, shortSeq, BuildOptions{});
    SourceFrames sources;
    for (std::int64_t f = 0; f < 300; ++f) {
      benchmarkSink = FrameRenderer::output(*build, f, sources).pixels[0];
    }
  });
  const double ffmpegDrawing = run(
      "ffmpeg -v error -y -ss 25 -t 5.5 -i '" + movie.string() + "' -t 5.5 -i '" + second.string() + "' -i '" +
      (dir / "title.png").string() + "' -filter_complex \"[1:v]lut3d=file='" + (dir / "grade.cube").string() +
      "'[g];[0:v][g]xfade=transition=fade:duration=1:offset=4.5[x];[x][2:v]overlay[v]\" -map '[v]' -f null -");

  std::printf("300 frames of crossfade + grade + lower third, decoding included: ours %.2f s (%.1f ms a frame), "
              "ffmpeg filter graph to null %.2f s → ours runs %.2f × FFmpeg's speed\n",
              oursDrawing, oursDrawing / 300 * 1000, ffmpegDrawing, ffmpegDrawing / oursDrawing);
  std::printf("60 s 1080p30 timeline, YouTube 1080p: ours %.1f s, ffmpeg filter graph %.1f s → %.2f × ffmpeg\n",
              oursH264, ffmpegGraph, oursH264 / ffmpegGraph);
  std::printf("bare libx264 encode of our frames: %.1f s → ours is %.2f × the encoder\n", bare, oursH264 / bare);
  std::printf("nothing to draw (the first movie alone, with its sound): ours %.1f s, bare encode %.1f s → %.2f × the "
              "encoder\n",
              oursPlain, barePlain, oursPlain / barePlain);
  std::printf("Master — ProRes 422: %.1f s for 60 s → %.2f × real time\n", oursProRes, 60 / oursProRes);
  return 0;
}
