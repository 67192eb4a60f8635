// SPDX-License-Identifier: MIT
// The entry point: one instance per user, the services, the delegate and the event loop.
#include <QApplication>
#include <QMetaObject>

#include <memory>

#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/LetterIcon.h"
#include "app/SingleInstance.h"
#include "l10n/L.h"
#include "panel/Theme.h"
#include "panel/VorrikPanel.h"
#include "platform/posix/PosixServices.h"
#include "platform/qt/QtServices.h"
#include "platform/qt/QtSettingsLink.h"
#include "platform/x11/X11Input.h"
#include "platform/x11/X11InputMonitor.h"
#include "platform/x11/X11Window.h"

#ifndef VORRIK_SHORT_VERSION
#define VORRIK_SHORT_VERSION ""
#endif

int main(int argc, char** argv) {
  vorrik::SingleInstance instance;
  vorrik::Command command = vorrik::Command::Show;
  if (const auto status = vorrik::handleCommandLine(argc, argv, instance, command)) {
    return *status;
  }
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Vorrik"));
  QApplication::setApplicationVersion(QStringLiteral(VORRIK_SHORT_VERSION));
  QApplication::setDesktopFileName(QStringLiteral("example.vorrik.Vorrik"));
  QApplication::setWindowIcon(vorrik::letterIcon());
  // Closing the panel leaves Vorrik in the tray; only Quit ends it.
  QApplication::setQuitOnLastWindowClosed(
      vorrik::AppDelegate::applicationShouldTerminateAfterLastWindowClosed());

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
  vorrik::qt::QtSettingsLink settingsLink;

  int status = 0;
  {
    vorrik::AppDelegate delegate(
        {center,
         trust,
         settingsLink,
         [&] {
           return std::make_unique<vorrik::VorrikPanel>(
               vorrik::VorrikPanel::Services{{mainQueue, trust, injector, pointer, sleeper, random},
                                             std::make_unique<vorrik::posix::WorkerTimer>(),
                                             center,
                                             &input,
                                             &windows});
         },
         {}});
    QObject::connect(&instance, &vorrik::SingleInstance::commandReceived, &delegate,
                     [&delegate](vorrik::Command asked) { vorrik::perform(delegate, asked); });
    // Start-up runs once the event loop is going, as after a finished launch; then what this
    // launch asked for, and then what later launches ask.
    QMetaObject::invokeMethod(&delegate, &vorrik::AppDelegate::applicationDidFinishLaunching,
                              Qt::QueuedConnection);
    if (command != vorrik::Command::Show) {
      QMetaObject::invokeMethod(
          &delegate, [&delegate, command] { vorrik::perform(delegate, command); },
          Qt::QueuedConnection);
    }
    instance.serve();
    status = QApplication::exec();
  }
  vorrik::L::install({});
  return status;
}
