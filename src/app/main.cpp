// SPDX-License-Identifier: MIT
// The entry point: one instance per user, the delegate, the event loop.
#include <QApplication>
#include <QMetaObject>
#include <QVBoxLayout>

#include <memory>

#include "app/AppDelegate.h"
#include "app/LetterIcon.h"
#include "app/SingleInstance.h"
#include "l10n/L.h"
#include "platform/qt/QtServices.h"
#include "platform/qt/QtSettingsLink.h"
#include "platform/x11/X11Input.h"

#ifndef VORRIK_SHORT_VERSION
#define VORRIK_SHORT_VERSION ""
#endif

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Vorrik"));
  QApplication::setApplicationVersion(QStringLiteral(VORRIK_SHORT_VERSION));
  QApplication::setDesktopFileName(QStringLiteral("example.vorrik.Vorrik"));
  QApplication::setWindowIcon(vorrik::letterIcon());
  // Closing the panel leaves Vorrik in the tray; only Quit ends it.
  QApplication::setQuitOnLastWindowClosed(
      vorrik::AppDelegate::applicationShouldTerminateAfterLastWindowClosed());

  vorrik::SingleInstance instance;
  if (!instance.claim()) {
    return 0;
  }

  vorrik::qt::QtDefaultsStore defaults;
  vorrik::qt::QtPreferredLanguages preferred;
  vorrik::qt::QtNotificationCenter center;
  vorrik::L::install({&defaults, &preferred, &center});
  vorrik::x11::X11Trust trust;
  vorrik::qt::QtSettingsLink settingsLink;

  vorrik::AppDelegate delegate({center,
                                trust,
                                settingsLink,
                                [] {
                                  auto panel = std::make_unique<QWidget>();
                                  panel->setWindowTitle("Vorrik");
                                  auto* layout = new QVBoxLayout(panel.get());
                                  layout->setContentsMargins(0, 0, 0, 0);
                                  // Stands in for the control panel until it lands.
                                  auto* column = new QWidget;
                                  column->setFixedSize(300, 480);
                                  layout->addWidget(column);
                                  return panel;
                                },
                                {}});
  QObject::connect(&instance, &vorrik::SingleInstance::reopenRequested, &delegate, [&delegate] {
    delegate.applicationShouldHandleReopen(delegate.panel()->isVisible());
  });
  // Start-up runs once the event loop is going, as after a finished launch.
  QMetaObject::invokeMethod(&delegate, &vorrik::AppDelegate::applicationDidFinishLaunching,
                            Qt::QueuedConnection);
  const int status = QApplication::exec();
  vorrik::L::install({});
  return status;
}
