#include "picture/gui_environment.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <mutex>

namespace brevelan {

void ensureGuiEnvironment() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (QCoreApplication::instance()) return;
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // Qt keeps references to argc and argv for the application's lifetime.
    static int argc = 1;
    static char name[] = "brevelan";
    static char* argv[] = {name, nullptr};
    // Never deleted: fonts and glyph caches stay valid until the process ends.
    new QGuiApplication(argc, argv);
  });
}

}  // namespace brevelan
