// Speech to words with PocketSphinx on generated speech (flite's "slt" voice):
// a minute of sound should be heard in at most 30 s on two cores. The word
// error rate against the text that was spoken is reported as a counter.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>
#include <string>
#include <vector>

#include "media/speech_recognizer.h"
#include "support/pcm16_wav.h"

namespace {

namespace fs = std::filesystem;
using namespace brevelan;

constexpr int kRate = 16000;

const char* const kSentences[] = {
    "The morning train was late again, so we walked to the office along the river.",
    "My sister bought a small house near the park last summer.",
    "Please remember to water the plants while I am away next week.",
    "The children played in the garden until it started to rain.",
    "He opened the window and listened to the birds in the trees.",
    "We should finish the report before the meeting on Friday afternoon.",
    "The old bridge was closed for repairs during the whole winter.",
    "She made a cup of tea and sat down to read the letter.",
    "The shop on the corner sells fresh bread and cheese every day.",
    "They drove through the mountains and stopped at a quiet village.",
    "I think the new plan will save us a lot of time and money.",
    "The teacher asked the students to write a short story about their family.",
    "After dinner we went for a long walk by the sea.",
    "The doctor said that he should rest for a few days.",
    "Our neighbors are planning a party for the end of the month.",
    "The music was so loud that nobody could hear the phone ring.",
    "We watched the sun go down behind the hills.",
    "The company hired three new people to work on the project.",
    "He forgot his keys at home and had to wait outside in the cold.",
    "The library is open every day except Sunday.",
    "She wants to learn how to play the piano this year.",
    "The river was high after the storm, and the fields were under water.",
    "My father likes to cook fish on the weekend.",
    "The city built a new road to the airport.",
    "We found an old map in the attic of the house.",
};

std::vector<std::string> words(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string w; in >> w;) {
    std::string clean;
    for (char c : w)
      if (std::isalpha(static_cast<unsigned char>(c)) || c == '\'') clean += static_cast<char>(std::tolower(c));
    if (!clean.empty()) out.push_back(clean);
  }
  return out;
}

// Substitutions, deletions and insertions over the reference's length.
double wordErrorRate(const std::vector<std::string>& ref, const std::vector<std::string>& hyp) {
  std::vector<std::size_t> row(hyp.size() + 1), next(hyp.size() + 1);
  for (std::size_t j = 0; j <= hyp.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= ref.size(); ++i) {
    next[0] = i;
    for (std::size_t j = 1; j <= hyp.size(); ++j)
      next[j] = std::min({row[j] + 1, next[j - 1] + 1, row[j - 1] + (ref[i - 1] == hyp[j - 1] ? 0 : 1)});
    std::swap(row, next);
  }
  return ref.empty() ? 0 : static_cast<double>(row[hyp.size()]) / static_cast<double>(ref.size());
}

// A minute (or a little more) of speech, sentence after sentence with short pauses.
struct Speech {
  fs::path file;
  std::vector<std::string> reference;
  double seconds = 0;
};

Speech makeSpeech(const fs::path& folder) {
  Speech speech;
  std::vector<std::int16_t> sound;
  for (std::size_t i = 0; sound.size() < 60u * kRate; ++i) {
    const std::string sentence = kSentences[i % std::size(kSentences)];
    const fs::path part = folder / "sentence.wav";
    const std::string command = "flite -voice slt -t \"" + sentence + "\" -o " + part.string();
    if (std::system(command.c_str()) != 0) return {};
    const auto spoken = testing::readPCM16(part);
    sound.insert(sound.end(), spoken.begin(), spoken.end());
    sound.resize(sound.size() + kRate / 2);
    for (auto& w : words(sentence)) speech.reference.push_back(w);
  }
  speech.file = folder / "minute.wav";
  speech.seconds = static_cast<double>(sound.size()) / kRate;
  testing::writePCM16(speech.file, sound, kRate);
  return speech;
}

void BM_TranscribeMinute(benchmark::State& state) {
  auto engine = std::make_shared<PocketSphinxEngine>();
  if (!engine->modelInstalled()) return state.SkipWithError("the PocketSphinx English model is not installed");
  if (std::system("command -v flite >/dev/null 2>&1") != 0) return state.SkipWithError("flite is not installed");
  const fs::path folder = fs::temp_directory_path() / "brevelan-bench-transcribe";
  fs::create_directories(folder);
  const Speech speech = makeSpeech(folder);
  if (speech.file.empty()) return state.SkipWithError("flite could not speak");

  Transcriber transcriber(engine);
  double wer = 0;
  std::size_t heard = 0;
  for (auto _ : state) {
    std::promise<Transcriber::Words> answer;
    transcriber.transcribe(speech.file, "en-US", true, 600,
                           [&](Transcriber::Words w) { answer.set_value(std::move(w)); });
    const Transcriber::Words result = answer.get_future().get();
    if (!result) return state.SkipWithError(result.error().message.c_str());
    std::string text;
    for (const TimedWord& w : *result) text += w.text + " ";
    const auto hypothesis = words(text);
    heard = hypothesis.size();
    wer = wordErrorRate(speech.reference, hypothesis);
  }
  state.counters["sound_s"] = speech.seconds;
  state.counters["words"] = static_cast<double>(speech.reference.size());
  state.counters["heard"] = static_cast<double>(heard);
  state.counters["WER_pct"] = 100 * wer;
  fs::remove_all(folder);
}
BENCHMARK(BM_TranscribeMinute)->Unit(benchmark::kSecond)->Iterations(2)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
