// The headless commands that work on the open sequence of the demo project:
// mix, Mark Beats through a script, frame and export (with Ctrl-C).
#include "app/mix_command.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include <cstring>
#include <fstream>
#include <sstream>

#include "app/frame_command.h"
#include "app/media_commands.h"
#include "app/script_runner.h"
#include "media/still_image.h"
#include "media/video_reader.h"
#include "model/project_file.h"
#include "sound/mixer.h"
#include "support/demo_folder.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

// The demo's media take a while to write: one demo serves every test here.
class DemoCommands : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new testing::TempDir;
  }
  static void TearDownTestSuite() {
    delete dir_;
    dir_ = nullptr;
  }
  static testing::TempDir* dir_;
};
testing::TempDir* DemoCommands::dir_ = nullptr;

TEST_F(DemoCommands, MixCommandWritesTheMixersSamplesAsFloatWav) {
  const testing::TempDir& dir = *dir_;
  std::ostringstream out, err;
  const auto project = testing::demoFolder() / "Sample.brevelan", wav = dir / "mix.wav";
  EXPECT_EQ(runMixCommand({project.string(), "b.wav"}, out, err), 2);
  EXPECT_EQ(runMixCommand({(dir / "gone").string(), "-o", wav.string()}, out, err), 1);
  ASSERT_EQ(runMixCommand({project.string(), "-o", wav.string()}, out, err), 0) << err.str();

  auto loaded = ProjectFile::load(project);
  ASSERT_TRUE(loaded);
  const BrevSequence& seq = *loaded->activeSequence();
  const std::vector<float> expected = Mixer(*loaded).renderMix(seq, 0, Mixer::sampleCount(seq));
  std::ifstream in(wav, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), {});
  ASSERT_EQ(bytes.size(), 58 + expected.size() * 4);
  EXPECT_EQ(bytes.substr(0, 4) + bytes.substr(8, 8) + bytes.substr(50, 4), "RIFFWAVEfmt data");
  EXPECT_EQ(bytes[20], 3);  // IEEE float
  EXPECT_EQ(std::memcmp(bytes.data() + 58, expected.data(), expected.size() * 4), 0);
}

TEST_F(DemoCommands, MarkBeatsMarksTheClickTrackEveryHalfSecondAsOneUndoStep) {
  const testing::TempDir& dir = *dir_;
  std::ostringstream err;
  const auto project = testing::demoFolder() / "Sample.brevelan", saved = dir / "beats.brevelan";
  std::istringstream script(R"({"op":"markBeats","clip":"Music"})"
                            "\n"
                            R"({"op":"markBeats","clip":"Black"})"
                            "\n");
  std::ostringstream replies;
  runScript(project, saved, script, replies, err);
  std::istringstream lines(replies.str());
  std::string first, second;
  std::getline(lines, first);
  std::getline(lines, second);
  EXPECT_NE(first.find("\"status\":\"Marked 15 beats\""), std::string::npos) << first;  // the click at 0 s has no rise
  EXPECT_NE(first.find("\"undo\":1"), std::string::npos) << first;
  EXPECT_NE(second.find("\"result\":false"), std::string::npos) << second;  // a picture clip has no beat to mark

  auto after = ProjectFile::load(saved);
  ASSERT_TRUE(after) << after.error().message;
  const BrevSequence& seq = *after->activeSequence();
  std::int64_t musicStart = -1;
  for (const Clip& clip : seq.audio[1].clips)
    if (clip.name == "Music") musicStart = clip.start;
  ASSERT_GE(seq.markers.size(), 15u);
  std::vector<std::int64_t> beats;
  for (const Marker& m : seq.markers)
    if (m.name == "Beat") beats.push_back(m.frame - musicStart);
  ASSERT_EQ(beats.size(), 15u);
  for (std::size_t i = 0; i < beats.size(); ++i) EXPECT_NEAR(beats[i], 15 * static_cast<std::int64_t>(i + 1), 1) << i;
}

TEST_F(DemoCommands, FrameDrawsAnyFrameAtAnySize) {
  const auto project = (testing::demoFolder() / "Sample.brevelan").string(), png = (*dir_ / "frame.png").string();
  std::ostringstream out, err;
  EXPECT_EQ(runFrameCommand({project, "--at", "400", "-o", png, "--size", "1080x1920", "--reframe", "fitBlur"}, out, err),
            0)
      << err.str();
  const auto picture = loadStill(png);
  ASSERT_TRUE(picture) << picture.error();
  EXPECT_EQ(std::pair(picture->width, picture->height), std::pair(1080, 1920));
  // Frame 10 is the colour-bars movie alone, full frame: exactly its own picture.
  ASSERT_EQ(runFrameCommand({project, "--at", "10", "-o", png}, out, err), 0) << err.str();
  const auto drawn = loadStill(png);
  auto reader = VideoReader::open(testing::demoFolder() / "colour-bars.mov");
  ASSERT_TRUE(drawn && reader);
  const auto source = (*reader)->picture(10);
  ASSERT_TRUE(source);
  double difference = 0;
  for (std::size_t i = 0; i < drawn->bytes(); ++i) difference += std::abs(drawn->pixels[i] - (*source)->pixels[i]);
  EXPECT_LT(difference / static_cast<double>(drawn->bytes()), 0.5);
  EXPECT_EQ(runFrameCommand({project, "--at", "99999", "-o", png}, out, err), 1);  // past the end
  EXPECT_EQ(runFrameCommand({project, "--at", "-3", "-o", png}, out, err), 2);
}

// The whole editor window, drawn off screen: what a person would see first.
TEST_F(DemoCommands, ScreenshotDrawsTheEditorWindowWithTheProgramPicture) {
  const auto project = (testing::demoFolder() / "Sample.brevelan").string(), png = (*dir_ / "window.png").string();
  const std::string command = "XDG_DATA_HOME='" + (*dir_ / "xdg").string() + "' " + BREVELAN_BINARY + " screenshot '" + project + "' -o '" + png +
                              "' --size 1280x800 --at 10 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0);
  const auto shot = loadStill(png);
  ASSERT_TRUE(shot) << shot.error();
  EXPECT_EQ(std::pair(shot->width, shot->height), std::pair(1280, 800));
  EXPECT_NE(std::system((std::string(BREVELAN_BINARY) + " screenshot '" + project + "' -o x.png --workspace NOPE 2>/dev/null").c_str()), 0);
}

// Playback measured through the real engine without a window.
TEST_F(DemoCommands, PlaybenchPlaysTheSequenceAndReportsWhatItDrew) {
  const std::string command = "XDG_DATA_HOME='" + (*dir_ / "xdg").string() + "' " + BREVELAN_BINARY +
                              " playbench '" + (testing::demoFolder() / "Sample.brevelan").string() +
                              "' --seconds 1 2>/dev/null";
  std::FILE* pipe = ::popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::string said;
  char line[512];
  while (std::fgets(line, sizeof line, pipe)) said += line;
  ASSERT_EQ(::pclose(pipe), 0) << said;
  long long shown = 0, dropped = 0, drawn = 0;
  double played = 0, ms = 0;
  ASSERT_EQ(std::sscanf(said.c_str(), "played %lf s of \"Main\": %lld frames shown, %lld dropped, %lld drawn\ncompositor %lf",
                        &played, &shown, &dropped, &drawn, &ms),
            5)
      << said;
  EXPECT_GT(shown, 0);
  EXPECT_GE(drawn, shown);
  EXPECT_GT(ms, 0);
  EXPECT_NE(said.find("ms per frame on average"), std::string::npos);
}

// Ctrl-C from the terminal, or a polite kill, cancels cleanly.
TEST_F(DemoCommands, CtrlCOrSIGTERMCancelsAnExportAndLeavesNoFile) {
  for (const int signal : {SIGINT, SIGTERM}) {
    SCOPED_TRACE(signal);
    const auto movie = *dir_ / "cancelled.mov", said = *dir_ / "said.txt";
    const std::string project = (testing::demoFolder() / "Sample.brevelan").string();
    const pid_t child = ::fork();
    if (child == 0) {
      const int log = ::open(said.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      ::dup2(log, STDOUT_FILENO);
      ::dup2(log, STDERR_FILENO);
      ::execl(BREVELAN_BINARY, BREVELAN_BINARY, "export", project.c_str(), "--preset", "prores", "-o", movie.c_str(),
              nullptr);
      ::_exit(127);
    }
    ASSERT_GT(child, 0);
    // Wait until the export has begun writing, then interrupt it.
    for (int i = 0; i < 200 && !std::filesystem::exists(movie); ++i) ::usleep(50'000);
    EXPECT_TRUE(std::filesystem::exists(movie));
    ::kill(child, signal);
    int status = 0;
    ::waitpid(child, &status, 0);
    std::ifstream in(said);
    const std::string text((std::istreambuf_iterator<char>(in)), {});
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << text;
    EXPECT_NE(text.find("Export cancelled. The unfinished file was removed."), std::string::npos) << text;
    EXPECT_FALSE(std::filesystem::exists(movie));
  }
}

}  // namespace
}  // namespace brevelan
