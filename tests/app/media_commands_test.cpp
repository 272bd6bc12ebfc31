#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cmath>
#include <set>
#include <sstream>

#include "app/media_commands.h"
#include "media/audio_reader.h"
#include "media/media_probe.h"
#include "media/video_reader.h"
#include "model/project_file.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

double meanLevel(const Picture& picture) {
  double sum = 0;
  for (std::size_t i = 0; i < picture.bytes(); i += 4) sum += picture.pixels[i] + picture.pixels[i + 1] + picture.pixels[i + 2];
  return sum / (3.0 * picture.width * picture.height);
}

// `brevelan demo` then `brevelan probe` on what it wrote.
TEST(MediaCommands, DemoWritesMediaAndASampleThatUsesThem) {
  testing::TempDir dir;
  ::setenv("XDG_DATA_HOME", (dir.path() / "xdg").c_str(), 1);
  std::ostringstream out, err;
  ASSERT_EQ(runDemoCommand({(dir / "demo").string()}, out, err), 0) << err.str();

  auto project = ProjectFile::load(dir / "demo" / "Sample.brevelan");
  ASSERT_TRUE(project.ok()) << project.error().message;
  ASSERT_EQ(project->media.size(), 6u);
  std::vector<std::string> files;
  for (const MediaItem& item : project->media) files.push_back(item.path);

  std::ostringstream json, probeErr;
  ASSERT_EQ(runProbeCommand(files, json, probeErr), 0) << probeErr.str();
  std::istringstream lines(json.str());
  std::map<std::string, nlohmann::json> byName;
  for (nlohmann::json item; byName.size() < files.size() && lines >> item;) byName[item["name"].get<std::string>()] = item;
  const std::map<std::string, std::tuple<std::string, int, int, bool>> expects = {
      {"colour-bars", {"video", 1920, 1080, true}}, {"uhd-4k", {"video", 3840, 2160, false}},
      {"phone-portrait", {"video", 1080, 1920, true}}, {"tone-6dBFS", {"audio", 0, 0, true}},
      {"click-120bpm", {"audio", 0, 0, true}},        {"still", {"image", 1920, 1080, false}}};
  for (const auto& [name, expected] : expects) {
    const nlohmann::json& item = byName.at(name);
    EXPECT_EQ(std::tuple(item["kind"].get<std::string>(), item["width"].get<int>(), item["height"].get<int>(),
                         item["hasAudio"].get<bool>()),
              expected)
        << name;
  }

  // The sync marks: frame 60 is a white flash, and the beep starts at 2.000 s.
  auto bars = VideoReader::open(dir / "demo" / "colour-bars.mov");
  ASSERT_TRUE(bars.ok());
  EXPECT_GT(meanLevel(**(*bars)->picture(60)), 250);
  EXPECT_LT(meanLevel(**(*bars)->picture(59)), 200);
  EXPECT_LT(meanLevel(**(*bars)->picture(61)), 200);
  auto sound = decodeSound(dir / "demo" / "colour-bars.mov");
  ASSERT_TRUE(sound.ok());
  std::size_t first = 0;
  while (first < sound->size() && std::abs((*sound)[first]) < 0.1f) first += 2;
  EXPECT_NEAR(static_cast<double>(first / 2), 96000.0, 48.0);
  auto tone = decodeSound(dir / "demo" / "tone-6dBFS.wav");
  float peak = 0;
  for (float s : *tone) peak = std::max(peak, std::abs(s));
  EXPECT_NEAR(peak, std::pow(10.0, -6.0 / 20.0), 0.002);

  // Every kind of clip source, a transition, markers and captions.
  const BrevSequence& main = *project->activeSequence();
  std::set<ClipSource::Kind> kinds;
  bool transition = false;
  for (const auto* tracks : {&main.video, &main.audio})
    for (const Track& track : *tracks)
      for (const Clip& clip : track.clips) {
        kinds.insert(clip.source.kind());
        transition = transition || clip.transitionIn.has_value();
      }
  EXPECT_EQ(kinds.size(), 4u);
  EXPECT_TRUE(transition);
  EXPECT_FALSE(main.markers.empty());
  EXPECT_FALSE(main.captions.empty());
}

TEST(MediaCommands, ProbeReportsRefusedFilesAndFails) {
  testing::TempDir dir;
  testing::writeFile(dir / "notes.txt", "hello");
  std::ostringstream out, err;
  EXPECT_EQ(runProbeCommand({(dir / "notes.txt").string()}, out, err), 1);
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(err.str(), "brevelan: " + MediaError::unsupported("notes.txt").message + "\n");
  EXPECT_EQ(runProbeCommand({}, out, err), 2);
}

}  // namespace
}  // namespace brevelan
