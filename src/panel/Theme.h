// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>

class QApplication;

namespace vorrik {

// Gives the whole application a dark look whatever the desktop's theme: the Fusion style and a
// dark palette.
void applyDarkTheme(QApplication& app);

// The panel's colours.
namespace theme {
// The panel's very dark blue, red 0.02, green 0.08, blue 0.17.
QColor panelBackground();
// The lamp while no run is in progress: the standard system grey.
QColor lampStopped();
// The lamp during a run: red 0.24, green 0.91, blue 0.71.
QColor lampRunning();
// Text of lesser weight (the target line): white at 55%.
QColor secondaryLabel();
// Text of least weight (the section headers): white at 25%.
QColor tertiaryLabel();
}  // namespace theme

}  // namespace vorrik
