#include "workstation/desktop/Style.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace workstation {
namespace {

QPalette lightPalette() {
  QPalette palette(QColor(0xf3, 0xf3, 0xf4));
  palette.setColor(QPalette::Base, Qt::white);
  palette.setColor(QPalette::AlternateBase, QColor(0xf6, 0xf6, 0xf8));
  palette.setColor(QPalette::Highlight, QColor(0x1f, 0x5f, 0xa8));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Link, QColor(0x1f, 0x5f, 0xa8));
  return palette;
}

QPalette darkPalette() {
  const QColor text(0xe6, 0xe6, 0xe8);
  const QColor grey(0x86, 0x86, 0x8c);
  QPalette palette(QColor(0x36, 0x36, 0x3b));
  palette.setColor(QPalette::Base, QColor(0x1c, 0x1c, 0x1f));
  palette.setColor(QPalette::AlternateBase, QColor(0x24, 0x24, 0x28));
  palette.setColor(QPalette::ToolTipBase, QColor(0x48, 0x48, 0x4e));
  palette.setColor(QPalette::PlaceholderText, grey);
  palette.setColor(QPalette::Highlight, QColor(0x3d, 0x7e, 0xc9));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Link, QColor(0x7a, 0xb4, 0xf0));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
    palette.setColor(role, text);
    palette.setColor(QPalette::Disabled, role, grey);
  }
  return palette;
}

}  // namespace

void applyStyle(QApplication& application) {
  const QByteArray wanted = qgetenv("ZEPHOR_STYLE");
  if (wanted != "light" && wanted != "dark") return;
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  application.setPalette(wanted == "dark" ? darkPalette() : lightPalette());
}

}  // namespace workstation
