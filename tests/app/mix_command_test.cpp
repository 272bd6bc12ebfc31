#include "app/mix_command.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <sstream>

#include "app/media_commands.h"
#include "model/project_file.h"
#include "sound/mixer.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

TEST(MixCommand, WritesTheMixersSamplesAsFloatWav) {
  testing::TempDir dir;
  std::ostringstream out, err;
  ASSERT_EQ(runDemoCommand({dir.path().string()}, out, err), 0) << err.str();
  const auto project = dir / "Sample.brevelan", wav = dir / "mix.wav";
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

}  // namespace
}  // namespace brevelan
