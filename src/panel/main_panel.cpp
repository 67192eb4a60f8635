// SPDX-License-Identifier: MIT
// Shows the control panel on its own, with the real services, for screenshots and trials.
#include <QApplication>

#include <memory>

#include "l10n/L.h"
#include "panel/Theme.h"
#include "panel/VorrikPanel.h"
#include "platform/posix/PosixServices.h"
#include "platform/qt/QtServices.h"
#include "platform/x11/X11Input.h"
#include "platform/x11/X11InputMonitor.h"
#include "platform/x11/X11Window.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Vorrik"));
  vorrik::applyDarkTheme(app);

  vorrik::qt::QtDefaultsStore defaults;
  vorrik::qt::QtPreferredLanguages preferred;
  vorrik::qt::QtNotificationCenter center;
  vorrik::L::install({&defaults, &preferred, &center});

  vorrik::qt::QtMainQueue mainQueue;
  vorrik::x11::X11Trust trust;
  vorrik::x11::X11Injector injector;
  vorrik::x11::X11Pointer pointer;
  vorrik::posix::MonotonicSleeper sleeper;
  vorrik::posix::SystemRandom random;
  vorrik::x11::X11InputMonitor input;
  vorrik::x11::X11WindowSystem windows;

  int status = 0;
  {
    vorrik::VorrikPanel panel({{mainQueue, trust, injector, pointer, sleeper, random},
                               std::make_unique<vorrik::posix::WorkerTimer>(),
                               center,
                               &input,
                               &windows});
    // On its own the panel is the whole application: closing it ends the process.
    panel.setAttribute(Qt::WA_QuitOnClose, true);
    panel.show();
    status = QApplication::exec();
  }
  vorrik::L::install({});
  return status;
}
