#include "app/shell/editor_window.h"

#include <QApplication>

namespace brevelan {

int runEditor(int argc, char** argv) {
  QApplication app(argc, argv);
  return 0;
}

}  // namespace brevelan
