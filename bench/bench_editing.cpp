// The editing engine's costs: a ripple trim through the edit funnel on a large
// linked sequence (copy, operate, compare, push) and the memory of a full
// undo history of such edits.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include "edit/editor_model.h"
#include "edit/trim_tools.h"

namespace brevelan {
namespace {

// 10 video tracks over 10 audio tracks, 100 clips each; each picture clip is
// linked to the sound clip below it. Every clip has keys and a curve.
Project makeLinkedProject() {
  Project project = Project::make();
  BrevSequence& seq = project.sequences.mut(0);
  seq.video.clear();
  seq.audio.clear();
  const Uuid media = Uuid::make();
  for (int t = 0; t < 10; ++t) {
    Track video = Track::make(TrackKind::video, "V" + std::to_string(t + 1));
    Track audio = Track::make(TrackKind::audio, "A" + std::to_string(t + 1));
    std::vector<Clip> pictures, sounds;
    for (int c = 0; c < 100; ++c) {
      Clip picture = Clip::make(ClipSource::media(media), "Clip " + std::to_string(c), c * 100, 100, 500, 3600);
      picture.linkID = Uuid::make();
      picture.audio.mut().volumeKeys.keys = {{0, -6}, {25, 0}, {75, 0}, {99, -12}};
      picture.grade.mut().master.points = {{0, 0}, {0.25, 0.3}, {0.75, 0.8}, {1, 1}};
      Clip sound = picture;
      sound.id = Uuid::make();
      pictures.push_back(std::move(picture));
      sounds.push_back(std::move(sound));
    }
    video.clips = SharedList<Clip>(std::move(pictures));
    audio.clips = SharedList<Clip>(std::move(sounds));
    seq.video.push_back(std::move(video));
    seq.audio.push_back(std::move(audio));
  }
  return project;
}

// Alternating -1/+1 ripple trims of clips spread over the tracks.
bool rippleOnce(EditorModel& editor, int i) {
  const BrevSequence& seq = *editor.activeSequence();
  const Uuid id = seq.video[static_cast<std::size_t>(i % 10)].clips[static_cast<std::size_t>((i * 37) % 100)].id;
  const std::int64_t by = i % 2 == 0 ? -1 : 1;
  return editor.editSeq("Ripple", false, true,
                        [&](BrevSequence& s) { rippleTrim(s, id, TrimEdge::tail, by, true); });
}

void BM_RippleThroughFunnel(benchmark::State& state) {
  EditorModel editor(makeLinkedProject());
  int i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(rippleOnce(editor, i++));
}
BENCHMARK(BM_RippleThroughFunnel)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);

double heapMB() { return static_cast<double>(mallinfo2().uordblks) / (1024.0 * 1024.0); }

void BM_ThousandUndoSteps(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto editor = std::make_unique<EditorModel>(makeLinkedProject());
    const double before = heapMB();
    state.ResumeTiming();
    for (int i = 0; i < 1000; ++i) rippleOnce(*editor, i);
    state.PauseTiming();
    state.counters["historyMB"] = heapMB() - before;
    state.counters["steps"] = static_cast<double>(editor->history().undoSteps().size());
    editor.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_ThousandUndoSteps)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
}  // namespace brevelan

BENCHMARK_MAIN();
