#include "media/speech_recognizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "support/pcm16_wav.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;

constexpr int kRate = 16000;

bool haveFlite() { return std::system("command -v flite >/dev/null 2>&1") == 0; }

// flite writes 16 kHz mono 16-bit WAV; only its data chunk is wanted.
std::vector<std::int16_t> speak(const TempDir& dir, const std::string& text) {
  const fs::path file = dir / "phrase.wav";
  const std::string command = "flite -voice slt -t \"" + text + "\" -o " + file.string();
  if (std::system(command.c_str()) != 0) return {};
  return testing::readPCM16(file);
}

// Where the voice begins: the first 10 ms louder than a whisper.
double onset(const std::vector<std::int16_t>& samples) {
  for (std::size_t f = 0; f + 160 <= samples.size(); f += 160) {
    double sum = 0;
    for (std::size_t i = f; i < f + 160; ++i) sum += double(samples[i]) * samples[i];
    if (std::sqrt(sum / 160) > 300) return double(f) / kRate;
  }
  return 0;
}

std::vector<std::string> split(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  for (std::string w; in >> w;) {
    std::transform(w.begin(), w.end(), w.begin(), [](unsigned char c) { return std::tolower(c); });
    words.push_back(w);
  }
  return words;
}

struct Listened {
  Transcriber::Words words = Unexpected{TranscriptionError{}};
  std::vector<double> progress;
};

Listened listen(const fs::path& file, double timeout = 120) {
  Transcriber transcriber(std::make_shared<PocketSphinxEngine>());
  std::promise<Transcriber::Words> answer;
  Listened listened;
  std::mutex lock;
  transcriber.transcribe(
      file, "en-US", true, timeout, [&](Transcriber::Words words) { answer.set_value(std::move(words)); },
      [&](double p) {
        std::lock_guard guard(lock);
        listened.progress.push_back(p);
      });
  listened.words = answer.get_future().get();
  return listened;
}

class SpeechRecognizerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!PocketSphinxEngine().modelInstalled()) GTEST_SKIP() << "the PocketSphinx English model is not installed";
    if (!haveFlite()) GTEST_SKIP() << "flite (the speech generator) is not installed";
  }
  TempDir dir;
};

TEST_F(SpeechRecognizerTest, FindsMostWordsAtTheirTimes) {
  const std::vector<std::string> phrases{
      "The quick brown fox jumps over the lazy dog.",
      "We went to the market on Monday morning.",
      "Please close the door when you leave the room.",
      "The weather today is warm and sunny.",
      "She reads a book every night before bed.",
      "Turn left at the next corner and keep going.",
  };
  // Each phrase at a known place, after 1.5 s of silence.
  std::vector<std::int16_t> sound;
  struct Placed {
    std::vector<std::string> words;
    double voice, end;
  };
  std::vector<Placed> placed;
  for (const std::string& phrase : phrases) {
    sound.resize(sound.size() + kRate * 3 / 2);
    const auto spoken = speak(dir, phrase);
    ASSERT_FALSE(spoken.empty());
    const double at = double(sound.size()) / kRate;
    placed.push_back({split(phrase), at + onset(spoken), at + double(spoken.size()) / kRate});
    sound.insert(sound.end(), spoken.begin(), spoken.end());
  }
  sound.resize(sound.size() + kRate);
  const fs::path file = dir / "speech.wav";
  testing::writePCM16(file, sound, kRate);

  const Listened listened = listen(file);
  ASSERT_TRUE(listened.words.ok()) << listened.words.error().message;
  const std::vector<TimedWord>& words = *listened.words;

  int found = 0, total = 0, onTime = 0;
  for (const Placed& p : placed) {
    // Words heard inside this phrase's stretch (with 0.3 s to spare).
    std::vector<TimedWord> heard;
    for (const TimedWord& w : words)
      if (w.start >= p.voice - 0.3 && w.start + w.duration <= p.end + 0.3) heard.push_back(w);
    for (const std::string& expected : p.words) {
      std::string bare = expected;
      std::erase_if(bare, [](char c) { return c == '.' || c == ','; });
      ++total;
      found += std::any_of(heard.begin(), heard.end(), [&](const TimedWord& w) { return split(w.text)[0] == bare; });
    }
    if (!heard.empty() && std::abs(heard.front().start - p.voice) <= 0.3) ++onTime;
  }
  EXPECT_GE(found, total * 8 / 10) << found << " of " << total << " words found in place";
  EXPECT_GE(onTime, int(placed.size()) - 1) << "phrases whose first word starts within 0.3 s of the voice";
  // No word lies outside the spoken stretches.
  for (const TimedWord& w : words) {
    const bool inside = std::any_of(placed.begin(), placed.end(), [&](const Placed& p) {
      return w.start >= p.voice - 0.3 && w.start <= p.end + 0.3;
    });
    EXPECT_TRUE(inside) << w.text << " at " << w.start;
  }

  ASSERT_FALSE(listened.progress.empty());
  EXPECT_TRUE(std::is_sorted(listened.progress.begin(), listened.progress.end()));
  EXPECT_NEAR(listened.progress.back(), 1.0, 0.02);
}

TEST_F(SpeechRecognizerTest, UnreadableSoundIsAnError) {
  for (const fs::path& file : {dir / "missing.wav", fs::path(dir / "noise.wav")}) {
    if (file.filename() == "noise.wav") std::ofstream(file) << "not a sound file at all";
    const Listened listened = listen(file);
    ASSERT_FALSE(listened.words.ok()) << file;
    EXPECT_EQ(listened.words.error().code, TranscriptionError::kRecognitionFailed);
    EXPECT_TRUE(listened.words.error().message.starts_with("Could not read the sound to transcribe")) << file;
  }
}

TEST_F(SpeechRecognizerTest, CancelStopsListeningPromptly) {
  std::vector<std::int16_t> sound;
  const auto spoken = speak(dir, "This sentence is said again and again until someone stops it.");
  for (int i = 0; i < 30; ++i) sound.insert(sound.end(), spoken.begin(), spoken.end());
  testing::writePCM16(dir / "long.wav", sound, kRate);

  Transcriber transcriber(std::make_shared<PocketSphinxEngine>());
  std::promise<Transcriber::Words> answer;
  auto running = transcriber.transcribe(dir / "long.wav", "en-US", true, 600,
                                        [&](Transcriber::Words words) { answer.set_value(std::move(words)); });
  running->cancel();
  const Transcriber::Words words = answer.get_future().get();
  ASSERT_FALSE(words.ok());
  EXPECT_EQ(words.error().code, TranscriptionError::kCancelled);
}

TEST(PocketSphinxEngineTest, RecognizesOnlyInstalledEnglish) {
  PocketSphinxEngine missing(fs::path("/nonexistent/models"));
  EXPECT_FALSE(missing.modelInstalled());
  EXPECT_EQ(missing.recognizer("en-US"), nullptr);
  EXPECT_EQ(Transcriber(std::make_shared<PocketSphinxEngine>(fs::path("/nonexistent/models"))).availability("en-US"),
            (SpeechAvailability{SpeechAvailability::Kind::unavailable, false, "No speech recognizer for en-US."}));

  PocketSphinxEngine installed;
  if (!installed.modelInstalled()) GTEST_SKIP() << "the PocketSphinx English model is not installed";
  for (const char* locale : {"en-US", "en_US", "en-us"}) {
    const auto recognizer = installed.recognizer(locale);
    ASSERT_NE(recognizer, nullptr) << locale;
    EXPECT_TRUE(recognizer->supportsOnDeviceRecognition());
  }
  for (const char* locale : {"fr-FR", "en-GB", ""}) EXPECT_EQ(installed.recognizer(locale), nullptr) << locale;
  EXPECT_EQ(Transcriber(std::make_shared<PocketSphinxEngine>()).availability("en-US"),
            (SpeechAvailability{SpeechAvailability::Kind::ready, true, ""}));
}

}  // namespace
}  // namespace brevelan
