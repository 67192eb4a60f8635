// SPDX-License-Identifier: MIT
#include "panel/Theme.h"

#include <QApplication>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>

namespace vorrik {
namespace theme {

QColor panelBackground() {
  return QColor::fromRgbF(0.02F, 0.08F, 0.17F);
}
QColor lampStopped() {
  return {0x8E, 0x8E, 0x93};
}
QColor lampRunning() {
  return QColor::fromRgbF(0.24F, 0.91F, 0.71F);
}
QColor secondaryLabel() {
  return {255, 255, 255, 140};
}
QColor tertiaryLabel() {
  return {255, 255, 255, 64};
}

}  // namespace theme

void applyDarkTheme(QApplication& app) {
  if (QStyle* fusion = QStyleFactory::create(QStringLiteral("Fusion"))) {
    app.setStyle(fusion);
  }

  // The greys of a dark desktop appearance: primary text at 85% white, controls a step lighter
  // than the window, the system blue for selection.
  const QColor window(30, 30, 30);
  const QColor text(255, 255, 255, 217);
  const QColor dimText(255, 255, 255, 64);
  const QColor button(72, 72, 74);
  QPalette palette(button, window);
  palette.setColor(QPalette::WindowText, text);
  palette.setColor(QPalette::Text, text);
  palette.setColor(QPalette::ButtonText, text);
  palette.setColor(QPalette::Base, QColor(24, 24, 26));
  palette.setColor(QPalette::AlternateBase, QColor(44, 44, 46));
  palette.setColor(QPalette::ToolTipBase, QColor(44, 44, 46));
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(QPalette::PlaceholderText, dimText);
  palette.setColor(QPalette::BrightText, QColor(255, 69, 58));
  palette.setColor(QPalette::Highlight, QColor(10, 132, 255));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Link, QColor(65, 156, 255));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, dimText);
  }
  app.setPalette(palette);
}

}  // namespace vorrik
