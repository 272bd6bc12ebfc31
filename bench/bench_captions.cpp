// Captions and safekeeping: reading and checking a long SRT file, and writing
// a recovery copy of a large project.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>
#include <vector>

#include "big_project.h"
#include "captions/srt.h"
#include "model/autosave.h"

namespace brevelan {
namespace {

// 10 000 two-line captions, 2 s each with 0.5 s between them.
std::string longSRT() {
  std::vector<Caption> captions;
  for (std::int64_t i = 0; i < 10000; ++i) {
    std::string text = "Caption number ";
    text += std::to_string(i);
    text += "\nwith a second line of text";
    captions.push_back(Caption{Uuid::make(), i * 75, i * 75 + 60, text});
  }
  return SRT::make(captions, FrameRate{30, 1});
}

void BM_ParseAndValidate10000(benchmark::State& state) {
  const std::string text = longSRT();
  for (auto _ : state) {
    auto captions = SRT::parse(text, FrameRate{30, 1});
    auto problems = SRT::validate(text);
    benchmark::DoNotOptimize(captions);
    benchmark::DoNotOptimize(problems);
  }
  state.counters["bytes"] = static_cast<double>(text.size());
}
BENCHMARK(BM_ParseAndValidate10000)->Unit(benchmark::kMillisecond);

// Encoding and the atomic write (with its flush to disk) of the 20 × 100-clip project.
void BM_AutosaveBigProject(benchmark::State& state) {
  const Project project = bench::makeBigProject();
  const auto folder = std::filesystem::temp_directory_path() / "brevelan-bench-autosave";
  const Autosave autosave(folder);
  for (auto _ : state) {
    auto written = autosave.write(project, std::filesystem::path("/work/films/big.brevelan"));
    if (!written) state.SkipWithError(written.error().message.c_str());
  }
  state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(autosave.location(project.id)));
  std::error_code ec;
  std::filesystem::remove_all(folder, ec);
}
BENCHMARK(BM_AutosaveBigProject)->Unit(benchmark::kMillisecond);

void BM_AutosaveEncodeOnly(benchmark::State& state) {
  const AutosaveRecord record{bench::makeBigProject(), std::nullopt, Date::now()};
  for (auto _ : state) benchmark::DoNotOptimize(Autosave::encode(record));
}
BENCHMARK(BM_AutosaveEncodeOnly)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace brevelan

BENCHMARK_MAIN();
