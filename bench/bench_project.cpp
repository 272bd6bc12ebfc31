// The document's costs: an edit cycle as the undo history sees it, the memory
// that 1000 kept snapshots take, and save / load of a large project.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <random>

#include "big_project.h"
#include "model/project_file.h"

namespace brevelan {
namespace {

// One cycle of the edit funnel: copy the project, change one clip, compare.
Project editOneClip(const Project& before, std::mt19937& rng) {
  Project after = before;
  BrevSequence& seq = after.sequences.mut(0);
  const bool video = rng() % 2 == 0;
  SharedList<Track>& tracks = video ? seq.video : seq.audio;
  Track& track = tracks.mut(rng() % tracks.size());
  Clip& clip = track.clips.mut(rng() % track.clips.size());
  clip.audio.mut().gainDB += 0.5;
  return after;
}

void BM_EditCycle(benchmark::State& state) {
  const Project project = bench::makeBigProject();
  std::mt19937 rng(7);
  for (auto _ : state) {
    Project after = editOneClip(project, rng);
    bool same = after == project;
    benchmark::DoNotOptimize(same);
  }
}
BENCHMARK(BM_EditCycle)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);

// Bytes in use on the heap, as the allocator counts them.
double heapMB() { return static_cast<double>(mallinfo2().uordblks) / (1024.0 * 1024.0); }

void BM_ThousandSnapshots(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    std::vector<Project> history;
    history.reserve(1001);
    history.push_back(bench::makeBigProject());
    const double first = heapMB();
    std::mt19937 rng(11);
    state.ResumeTiming();
    for (int i = 0; i < 1000; ++i) history.push_back(editOneClip(history.back(), rng));
    state.PauseTiming();
    state.counters["aboveFirstMB"] = heapMB() - first;
    state.counters["firstProjectMB"] = first;
    history.clear();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_ThousandSnapshots)->Unit(benchmark::kMillisecond)->Iterations(1);

std::filesystem::path benchFile() {
  return std::filesystem::temp_directory_path() / ("brevelan-bench-" + std::to_string(::getpid()) + ".brevelan");
}

void BM_Save(benchmark::State& state) {
  const Project project = bench::makeBigProject();
  const auto file = benchFile();
  for (auto _ : state) {
    if (!ProjectFile::save(project, file).ok()) state.SkipWithError("save failed");
  }
  state.counters["fileMB"] = static_cast<double>(std::filesystem::file_size(file)) / (1024.0 * 1024.0);
  std::filesystem::remove(file);
}
BENCHMARK(BM_Save)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_Load(benchmark::State& state) {
  const auto file = benchFile();
  if (!ProjectFile::save(bench::makeBigProject(), file).ok()) state.SkipWithError("save failed");
  for (auto _ : state) {
    auto loaded = ProjectFile::load(file);
    if (!loaded.ok()) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(loaded);
  }
  std::filesystem::remove(file);
}
BENCHMARK(BM_Load)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace
}  // namespace brevelan

BENCHMARK_MAIN();
