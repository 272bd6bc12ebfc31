// The clip effects side by side with FFmpeg on the same 60-second stereo
// file: our ten-band EQ, noise gate and compressor over the decoded samples,
// against `ffmpeg -af` with ten `equalizer` bands at the same centres and Q,
// `agate` and `acompressor` (FFmpeg's time includes reading the WAV, which
// is small next to the filtering). Run: bench_effects [WORK-DIR].
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "media/audio_reader.h"
#include "media/demo_media.h"
#include "sound/compressor.h"
#include "sound/eq.h"
#include "sound/noise_gate.h"

namespace fs = std::filesystem;
using namespace brevelan;

int main(int argc, char** argv) {
  const fs::path dir = argc > 1 ? fs::path(argv[1]) : fs::temp_directory_path() / "brevelan-effects-bench";
  fs::create_directories(dir);
  const fs::path wav = dir / "tone60.wav";
  if (!fs::exists(wav) && !writeToneWAV(wav, 220, -10, 60, 2)) return 1;
  auto decoded = decodeSound(wav);
  if (!decoded) return 1;
  const std::vector<double> gains{3, -2, 1, 2, 4, -6, 2, 1, 1, 5};

  double ours = 1e9;
  for (int round = 0; round < 5; ++round) {
    std::vector<float> samples = *decoded;
    const auto began = std::chrono::steady_clock::now();
    const auto frames = static_cast<std::int64_t>(samples.size() / 2);
    applyEQ(gains, samples);
    NoiseGate(-50).process(samples, 0, frames);
    Compressor(-18, 3, 0).process(samples, 0, frames);
    ours = std::min(ours, std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count());
  }

  std::string filters;
  for (std::size_t i = 0; i < gains.size(); ++i)
    filters += "equalizer=f=" + std::to_string(static_cast<int>(kEQFrequencies[i])) +
               ":t=q:w=1.41:g=" + std::to_string(gains[i]) + ",";
  filters += "agate=threshold=0.00316:attack=1:release=40,acompressor=threshold=0.126:ratio=3:attack=5:release=80";
  const std::string command = "ffmpeg -v error -i '" + wav.string() + "' -af '" + filters + "' -f null -";
  double ffmpeg = 1e9;
  for (int round = 0; round < 3; ++round) {
    const auto began = std::chrono::steady_clock::now();
    if (std::system(command.c_str()) != 0) return 1;
    ffmpeg = std::min(ffmpeg, std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count());
  }
  std::printf("60 s stereo, EQ (10 bands) + gate + compressor: ours %.1f ms, ffmpeg -af %.1f ms → ours runs %.1f × "
              "FFmpeg's speed\n",
              ours * 1000, ffmpeg * 1000, ffmpeg / ours);
  return 0;
}
