// Media speed: decoding the demo's 1080p30 movie front to back as RGBA (side
// by side with the ffmpeg program on the same file), random access into a
// movie with a 2-second key-frame interval, and a proxy of a 10-second 4K movie.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

#include "media/demo_media.h"
#include "media/derived_makers.h"
#include "media/media_probe.h"
#include "media/video_reader.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using namespace brevelan;

double since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// Test movies are written once into a temporary folder, removed at exit.
struct Movies {
  fs::path dir;
  Movies() {
    std::string pattern = (fs::temp_directory_path() / "brevelan-bench-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    dir = pattern;
    ::setenv("XDG_DATA_HOME", (dir / "xdg").c_str(), 1);
  }
  ~Movies() {
    std::error_code ec;
    fs::remove_all(dir, ec);
  }
  fs::path make(const std::string& name, const SyntheticMovie& movie) {
    const fs::path file = dir / name;
    if (!fs::exists(file)) {
      auto made = writeSyntheticMovie(file, movie);
      if (!made) throw std::runtime_error(made.error());
    }
    return file;
  }
};

Movies& movies() {
  static Movies instance;
  return instance;
}

double decodeAll(const fs::path& file) {
  const auto start = Clock::now();
  auto reader = VideoReader::open(file);
  for (std::int64_t n = 0; n < (*reader)->frameCount(); ++n) benchmark::DoNotOptimize((*reader)->picture(n).ok());
  return since(start);
}

double ffmpegProgram(const fs::path& file) {
  const auto start = Clock::now();
  const std::string command = "ffmpeg -v error -i '" + file.string() + "' -f rawvideo -pix_fmt rgba -y /dev/null";
  if (std::system(command.c_str()) != 0) return 0;
  return since(start);
}

void DecodeDemoMovieRGBA(benchmark::State& state) {
  const fs::path file = movies().make("demo-bars.mov", demoBarsMovie());
  double ours = 1e9, theirs = 1e9;
  for (auto _ : state) {
    // Alternate so that both see the same machine load.
    ours = std::min(ours, decodeAll(file));
    theirs = std::min(theirs, ffmpegProgram(file));
  }
  const double frames = demoBarsMovie().frames;
  state.counters["ours_fps"] = frames / ours;
  state.counters["ffmpeg_fps"] = theirs > 0 ? frames / theirs : 0;
  // ≥ 0.8 is the target: our speed over the program's.
  state.counters["speed_ratio"] = theirs > 0 ? theirs / ours : 0;
}
BENCHMARK(DecodeDemoMovieRGBA)->Iterations(5)->Unit(benchmark::kMillisecond);

void RandomAccess1080p(benchmark::State& state) {
  SyntheticMovie movie;
  movie.frames = 300;
  movie.keyInterval = 60;
  const fs::path file = movies().make("gop60.mov", movie);
  auto reader = VideoReader::open(file);
  std::mt19937 random(7);
  std::uniform_int_distribution<int> pick(0, movie.frames - 1);
  std::vector<double> times;
  for (auto _ : state) {
    const int n = pick(random);
    const auto start = Clock::now();
    benchmark::DoNotOptimize((*reader)->picture(n).ok());
    times.push_back(since(start));
  }
  std::sort(times.begin(), times.end());
  state.counters["median_ms"] = times[times.size() / 2] * 1000;
  state.counters["p90_ms"] = times[times.size() * 9 / 10] * 1000;
}
BENCHMARK(RandomAccess1080p)->Iterations(60)->Unit(benchmark::kMillisecond);

void Proxy4K(benchmark::State& state) {
  SyntheticMovie movie;
  movie.width = 3840;
  movie.height = 2160;
  movie.frames = 300;
  movie.preset = "ultrafast";
  const fs::path file = movies().make("uhd-10s.mov", movie);
  auto item = MediaProbe().probe(file);
  double speed = 0;
  for (auto _ : state) {
    auto made = ProxyMaker::make(*item);
    if (!made) {
      state.SkipWithError(made.error().c_str());
      return;
    }
    speed = made->speed;
    fs::remove(made->path);
  }
  // ≥ 1 is the target: seconds of movie per second of work.
  state.counters["x_real_time"] = speed;
}
BENCHMARK(Proxy4K)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
