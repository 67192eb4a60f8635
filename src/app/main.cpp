// SPDX-License-Identifier: MIT
// The entry point: the backend for this session, one instance per user, the delegate and the
// event loop.
#include <QApplication>
#include <QMetaObject>
#include <QPointer>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/ExitGuard.h"
#include "app/LetterIcon.h"
#include "app/SingleInstance.h"
#include "l10n/L.h"
#include "panel/Theme.h"
#include "panel/VorrikPanel.h"
#include "platform/Backend.h"
#include "platform/posix/PosixServices.h"

#ifndef VORRIK_SHORT_VERSION
#define VORRIK_SHORT_VERSION ""
#endif

namespace {

// Says why Vorrik cannot serve this session: on stderr always, and in an alert when the
// toolkit has a display to show one on; a Wayland desktop's in the user's language.
int refuseSession(int argc, char** argv, const vorrik::Session& session, const std::string& why) {
  std::fprintf(stderr, "vorrik: cannot start: %s\n", why.c_str());
  if (session.waylandDisplay.empty() && session.display.empty()) {
    return 1;
  }
  // The line above says it all: Qt's own complaints stay quiet, and a display the toolkit
  // cannot open either ends Vorrik with status 1 instead of an abort.
  qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString&) {
    if (type == QtFatalMsg) {
      std::_Exit(1);
    }
  });
  QApplication app(argc, argv);
  if (!session.isWayland()) {
    vorrik::AppDelegate::runAlertModally(
        {QStringLiteral("Vorrik cannot click on this desktop"), QString::fromStdString(why), {}});
    return 1;
  }
  const std::unique_ptr<vorrik::LanguageSettings> settings = vorrik::openLanguageSettings();
  vorrik::L::install({&settings->defaults(), &settings->preferredLanguages(), nullptr});
  const vorrik::L::RefusalKeys keys = vorrik::L::refusalKeys(vorrik::Refusal::unsupportedWayland);
  vorrik::AppDelegate::runAlertModally({QString::fromStdString(vorrik::L::t(keys.title)),
                                        QString::fromStdString(vorrik::L::t(keys.body)),
                                        {}});
  vorrik::L::install({});
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  vorrik::SingleInstance instance;
  vorrik::Command command = vorrik::Command::Show;
  if (const auto status = vorrik::handleCommandLine(argc, argv, instance, command)) {
    return *status;
  }

  const vorrik::Session session = vorrik::Session::fromEnvironment();
  const vorrik::BackendChoice choice = vorrik::chooseBackend(session, vorrik::availableBackends());
  if (choice.backend == nullptr) {
    return refuseSession(argc, argv, session, choice.why);
  }
  // The backend's windows need its own Qt platform, unless the user asked for another.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    const std::string_view platform = choice.backend->qtPlatform(session);
    qputenv("QT_QPA_PLATFORM", QByteArray(platform.data(), qsizetype(platform.size())));
  }

  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Vorrik"));
  QApplication::setApplicationVersion(QStringLiteral(VORRIK_SHORT_VERSION));
  QApplication::setDesktopFileName(QStringLiteral(VORRIK_APP_ID));
  // The reverse of the ID; the settings file itself stays where earlier releases kept it.
  QApplication::setOrganizationName(QStringLiteral("Vorrik"));
  QApplication::setOrganizationDomain(QStringLiteral("vorrik.org"));
  QApplication::setWindowIcon(vorrik::letterIcon());
  // Closing the panel leaves Vorrik in the tray; only Quit ends it.
  QApplication::setQuitOnLastWindowClosed(
      vorrik::AppDelegate::applicationShouldTerminateAfterLastWindowClosed());

  // Before anything clicks: every way out then releases the button first.
  vorrik::ExitGuard guard;

  vorrik::applyDarkTheme(app);

  std::unique_ptr<vorrik::Desktop> desktop = choice.backend->open(session);
  vorrik::L::install({&desktop->defaults(), &desktop->preferredLanguages(), &desktop->center()});
  vorrik::posix::MonotonicSleeper sleeper;
  vorrik::posix::SystemRandom random;

  int status = 0;
  {
    QPointer<vorrik::VorrikPanel> made;
    vorrik::AppDelegate delegate(
        {desktop->center(),
         desktop->trust(),
         desktop->settingsLink(),
         [&] {
           auto panel = std::make_unique<vorrik::VorrikPanel>(vorrik::VorrikPanel::Services::from(
               *desktop, sleeper, random, std::make_unique<vorrik::posix::WorkerTimer>()));
           made = panel.get();
           return panel;
         },
         {},
         {},
         desktop->toggleShortcut(),
         &desktop->defaults(),
         [&desktop] { return desktop->toggleShortcut(); },
         [&desktop] { return desktop->hotkeyMissing(); }});
    guard.watch([&made]() -> vorrik::ClickEngine* { return made ? &made->engine() : nullptr; });
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
    guard.watch({});
  }
  vorrik::L::install({});
  // Closed before a caught signal ends the process: a release the last click left to the
  // display server is made before its connection goes.
  desktop.reset();
  return guard.finish(status);
}
