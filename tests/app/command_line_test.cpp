#include "app/command_line.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

#include "app/sample_project.h"
#include "model/project_file.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

struct Outcome {
  int code;
  std::string out;
  std::string err;
};

Outcome run(std::vector<std::string> args) {
  std::istringstream in;
  std::ostringstream out, err;
  int code = runCommandLine(args, in, out, err);
  return {code, out.str(), err.str()};
}

TEST(CommandLine, HelpVersionAndUnknownCommands) {
  Outcome help = run({"--help"});
  EXPECT_EQ(help.code, 0);
  EXPECT_NE(help.out.find("brevelan demo DIR"), std::string::npos);
  EXPECT_EQ(run({"--version"}).out, "brevelan 0.1.0\n");

  Outcome unknown = run({"frobnicate"});
  EXPECT_EQ(unknown.code, 2);
  EXPECT_EQ(unknown.err, "brevelan: unknown command “frobnicate” (see brevelan --help)\n");
  EXPECT_EQ(run({"info"}).code, 2);
}

// (`demo` itself is covered with the media commands.)
TEST(CommandLine, InfoDescribesAProjectAndFailuresAreOneLine) {
  testing::TempDir dir;
  const auto file = dir / "sample.brevelan";
  ASSERT_TRUE(ProjectFile::save(makeSampleProject(), file).ok());
  Outcome info = run({"info", file.string()});
  EXPECT_EQ(info.code, 0);
  EXPECT_NE(info.out.find("* Sequence “Main”: 1920 × 1080, 30 fps, 00:00:12:00 long"), std::string::npos) << info.out;

  Outcome missing = run({"info", (dir / "gone.brevelan").string()});
  EXPECT_EQ(missing.code, 1);
  EXPECT_EQ(missing.err, "brevelan: The file “gone.brevelan” couldn’t be opened because there is no such file.\n");

  // The real executable exits with the same codes.
  std::FILE* pipe = ::popen(BREVELAN_BINARY " frobnicate 2>&1", "r");
  ASSERT_NE(pipe, nullptr);
  char line[256] = {};
  ASSERT_NE(std::fgets(line, sizeof line, pipe), nullptr);
  EXPECT_EQ(std::fgets(line + 200, 50, pipe), nullptr);  // one line only
  int status = ::pclose(pipe);
  EXPECT_EQ(WEXITSTATUS(status), 2);
}

}  // namespace
}  // namespace brevelan
