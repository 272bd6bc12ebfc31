// Ending the editor by a signal: the watch that brings signals to the main
// thread, and the editor process ending as a quit does.
#include "app/shell/termination_watch.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QThread>

#include <cstdlib>
#include <thread>
#include <vector>

#include "model/project_file.h"
#include "support/temp_dir.h"
#include "support/widget_app.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

TEST(TerminationWatch, SignalsArriveOnTheMainThreadAndTheOldHandlersComeBack) {
  testing::widgetApp();
  struct sigaction ignore{};
  ignore.sa_handler = SIG_IGN;
  struct sigaction before{};
  sigaction(SIGHUP, &ignore, &before);
  std::vector<int> seen;
  bool onMain = true;
  {
    TerminationWatch watch([&](int signal) {
      seen.push_back(signal);
      onMain = onMain && QThread::currentThread() == QCoreApplication::instance()->thread();
    });
    std::thread([] { ::kill(::getpid(), SIGTERM); }).join();
    ::raise(SIGHUP);
    EXPECT_TRUE(testing::waitUntil([&] { return seen.size() == 2; }, 5000));
  }
  EXPECT_EQ(seen, (std::vector<int>{SIGTERM, SIGHUP}));
  EXPECT_TRUE(onMain);
  struct sigaction now{};
  sigaction(SIGHUP, nullptr, &now);
  EXPECT_EQ(now.sa_handler, SIG_IGN);
  sigaction(SIGHUP, &before, nullptr);
}

// The real editor on Qt's offscreen display, asked to end by SIGTERM with
// nothing unsaved: it leaves its event loop, ends its session (no recovery
// is offered next time) and says which signal ended it.
TEST(EditorProcess, SIGTERMEndsTheEditorAsAQuitDoes) {
  testing::TempDir dir;
  const fs::path project = dir / "Empty.brevelan";
  ASSERT_TRUE(ProjectFile::save(Project::make(), project));
  const fs::path lock = dir / "data" / "vael-brevelan" / "Autosave" / "session.lock";
  const pid_t child = ::fork();
  if (child == 0) {
    ::setenv("XDG_DATA_HOME", (dir / "data").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (dir / "config").c_str(), 1);
    ::setenv("XDG_CACHE_HOME", (dir / "cache").c_str(), 1);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::execl(BREVELAN_BINARY, BREVELAN_BINARY, project.c_str(), nullptr);
    ::_exit(127);
  }
  ASSERT_GT(child, 0);
  for (int i = 0; i < 600 && !fs::exists(lock); ++i) ::usleep(50'000);
  EXPECT_TRUE(fs::exists(lock));
  ::usleep(500'000);  // past the start, into the window's event loop
  ::kill(child, SIGTERM);
  int status = 0;
  pid_t ended = 0;
  for (int i = 0; i < 600 && (ended = ::waitpid(child, &status, WNOHANG)) == 0; ++i) ::usleep(50'000);
  if (ended == 0) {
    ::kill(child, SIGKILL);
    ::waitpid(child, &status, 0);
    FAIL() << "the editor did not end";
  }
  ASSERT_TRUE(WIFEXITED(status)) << "ended by signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
  EXPECT_EQ(WEXITSTATUS(status), 128 + SIGTERM);
  EXPECT_FALSE(fs::exists(lock));
}

}  // namespace
}  // namespace brevelan
