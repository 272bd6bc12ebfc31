#include "picture/gui_environment.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <sys/stat.h>
#include <unistd.h>

#include <mutex>
#include <string>

namespace brevelan {

void ensureGuiEnvironment() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (QCoreApplication::instance()) return;
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // Without a session (a terminal over ssh, CI) Qt falls back to a folder of
    // its own and says so on every run; give it that folder quietly.
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")) {
      const std::string runtime = "/tmp/runtime-" + std::to_string(::getuid());
      ::mkdir(runtime.c_str(), 0700);
      struct stat info {};
      if (::stat(runtime.c_str(), &info) == 0 && info.st_uid == ::getuid() && (info.st_mode & 0077) == 0)
        qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(runtime));
    }
    // Qt keeps references to argc and argv for the application's lifetime.
    static int argc = 1;
    static char name[] = "brevelan";
    static char* argv[] = {name, nullptr};
    // Never deleted: fonts and glyph caches stay valid until the process ends.
    new QGuiApplication(argc, argv);
  });
}

}  // namespace brevelan
