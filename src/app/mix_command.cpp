#include "app/mix_command.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <ostream>

#include "model/project_file.h"
#include "sound/mixer.h"
#include "sound/wav_file.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

// A minute at a time: long mixes stay small in memory, while clips with
// effects (rendered from their start on every call) are not redone too often.
constexpr std::int64_t kChunk = 60 * Mixer::kRate;

int fail(std::ostream& err, const std::string& message) {
  err << "brevelan: " << message << "\n";
  return 1;
}

}  // namespace

int runMixCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 3 || args[1] != "-o") {
    err << "brevelan: usage: brevelan mix PROJECT -o FILE.wav (see brevelan --help)\n";
    return 2;
  }
  auto project = ProjectFile::load(args[0]);
  if (!project) return fail(err, project.error().message);
  const BrevSequence* sequence = project->activeSequence();
  if (!sequence) return fail(err, "The project has no open sequence to mix.");

  const fs::path target = args[2];
  auto writer = FloatWavWriter::create(target);
  if (!writer) return fail(err, writer.error());
  const Mixer mixer(*project);
  const std::int64_t total = Mixer::sampleCount(*sequence);
  float peak = 0;
  for (std::int64_t from = 0; from < total; from += kChunk) {
    const std::vector<float> samples = mixer.renderMix(*sequence, from, std::min(kChunk, total - from));
    for (float s : samples) peak = std::max(peak, std::abs(s));
    if (auto appended = writer->append(samples); !appended) {
      std::error_code ec;
      fs::remove(target, ec);
      return fail(err, appended.error());
    }
  }
  if (auto finished = writer->finish(); !finished) {
    std::error_code ec;
    fs::remove(target, ec);
    return fail(err, finished.error());
  }
  char line[160];
  std::snprintf(line, sizeof line, "Wrote %.2f s of sound (peak %.1f dB) to ",
                static_cast<double>(total) / Mixer::kRate,
                20 * std::log10(std::max(peak, 1e-9f)));
  out << line << target.string() << "\n";
  return 0;
}

}  // namespace brevelan
