#include "app/shell/dark_theme.h"

#include <QApplication>
#include <QFont>
#include <QPalette>
#include <QStyleFactory>

#include <algorithm>

namespace brevelan {
namespace {

double gBaseFontPoints = 0;
int gZoom = 100;

}  // namespace

void applyDarkTheme(QApplication& app) {
  app.setStyle(QStyleFactory::create("Fusion"));
  QPalette p;
  const QColor window(37, 37, 40), base(27, 27, 30), text(222, 222, 226), dim(130, 130, 138);
  const QColor accent(64, 140, 255);
  p.setColor(QPalette::Window, window);
  p.setColor(QPalette::WindowText, text);
  p.setColor(QPalette::Base, base);
  p.setColor(QPalette::AlternateBase, QColor(33, 33, 36));
  p.setColor(QPalette::ToolTipBase, QColor(50, 50, 54));
  p.setColor(QPalette::ToolTipText, text);
  p.setColor(QPalette::PlaceholderText, dim);
  p.setColor(QPalette::Text, text);
  p.setColor(QPalette::Button, QColor(48, 48, 52));
  p.setColor(QPalette::ButtonText, text);
  p.setColor(QPalette::BrightText, QColor(255, 90, 90));
  p.setColor(QPalette::Light, QColor(70, 70, 76));
  p.setColor(QPalette::Midlight, QColor(58, 58, 63));
  p.setColor(QPalette::Mid, QColor(44, 44, 48));
  p.setColor(QPalette::Dark, QColor(20, 20, 22));
  p.setColor(QPalette::Shadow, Qt::black);
  p.setColor(QPalette::Highlight, accent);
  p.setColor(QPalette::HighlightedText, Qt::white);
  p.setColor(QPalette::Link, accent);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    p.setColor(QPalette::Disabled, role, dim);
  p.setColor(QPalette::Disabled, QPalette::Base, window);
  app.setPalette(p);
  gBaseFontPoints = app.font().pointSizeF() > 0 ? app.font().pointSizeF() : 10;
}

void setInterfaceZoom(QApplication& app, int percent) {
  percent = std::clamp(percent, 85, 200);
  if (gBaseFontPoints <= 0) gBaseFontPoints = app.font().pointSizeF() > 0 ? app.font().pointSizeF() : 10;
  gZoom = percent;
  QFont font = app.font();
  font.setPointSizeF(gBaseFontPoints * percent / 100.0);
  app.setFont(font);
}

int interfaceZoom() { return gZoom; }

}  // namespace brevelan
