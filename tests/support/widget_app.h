#pragma once

#include <QApplication>
#include <QByteArray>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <string>

namespace brevelan::testing {

// One QApplication for a test program, on Qt's offscreen display unless a
// display was chosen. Call before anything else touches Qt.
inline QApplication& widgetApp() {
  static QApplication* app = [] {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")) {
      const std::string runtime = "/tmp/runtime-" + std::to_string(::getuid());
      ::mkdir(runtime.c_str(), 0700);
      qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(runtime));
    }
    static int argc = 1;
    static char name[] = "brevelan-test";
    static char* argv[] = {name, nullptr};
    return new QApplication(argc, argv);
  }();
  return *app;
}

// Runs the event loop until `done` holds or `ms` pass; false on time out.
inline bool waitUntil(const std::function<bool()>& done, int ms = 10000) {
  QElapsedTimer timer;
  timer.start();
  while (!done()) {
    if (timer.elapsed() > ms) return false;
    QEventLoop loop;
    QTimer::singleShot(5, &loop, &QEventLoop::quit);
    loop.exec();
  }
  return true;
}

}  // namespace brevelan::testing
