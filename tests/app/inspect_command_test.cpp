#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <sstream>

#include "app/command_line.h"
#include "media/demo_media.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

int run(const std::vector<std::string>& args, std::string& out, std::string& err) {
  std::istringstream in;
  std::ostringstream outStream, errStream;
  const int code = runCommandLine(args, in, outStream, errStream);
  out = outStream.str();
  err = errStream.str();
  return code;
}

TEST(InspectCommand, PrintsOneJsonObjectOrAOneLineError) {
  testing::TempDir dir;
  SyntheticMovie movie;
  movie.width = 320;
  movie.height = 180;
  movie.frames = 12;
  movie.sound = true;
  const auto file = dir / "short.mp4";
  ASSERT_TRUE(writeSyntheticMovie(file, movie));
  std::string out, err;
  ASSERT_EQ(run({"inspect", file.string()}, out, err), 0) << err;
  const auto json = nlohmann::json::parse(out);
  EXPECT_EQ(json, nlohmann::json::parse(R"({"audioDuration": 0.4, "codec": "avc1", "duration": 0.4, "fps": 30.0,
      "hasAudio": true, "hasVideo": true, "height": 180, "videoDuration": 0.4, "width": 320})"));

  testing::writeFile(dir / "notes.txt", "not a movie\n");
  for (const std::string name : {"gone.mp4", "notes.txt"}) {
    EXPECT_EQ(run({"inspect", (dir / name).string()}, out, err), 1);
    EXPECT_EQ(err.rfind("brevelan: cannot open ", 0), 0u) << err;
    EXPECT_EQ(err.find('\n'), err.size() - 1) << "one line";
  }
  EXPECT_EQ(run({"inspect"}, out, err), 2);
  EXPECT_EQ(run({"inspect", "a.mp4", "b.mp4"}, out, err), 2);
}

}  // namespace
}  // namespace brevelan
