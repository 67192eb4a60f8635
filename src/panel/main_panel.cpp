// SPDX-License-Identifier: MIT
// Shows the control panel on its own, with the real services, for screenshots and trials.
#include <QApplication>

#include <cstdio>
#include <memory>
#include <string_view>

#include "l10n/L.h"
#include "panel/Theme.h"
#include "panel/VorrikPanel.h"
#include "platform/Backend.h"
#include "platform/posix/PosixServices.h"

int main(int argc, char** argv) {
  const vorrik::Session session = vorrik::Session::fromEnvironment();
  const vorrik::BackendChoice choice = vorrik::chooseBackend(session, vorrik::availableBackends());
  if (choice.backend == nullptr) {
    std::fprintf(stderr, "vorrik-panel: cannot start: %s\n", choice.why.c_str());
    return 1;
  }
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    const std::string_view platform = choice.backend->qtPlatform(session);
    qputenv("QT_QPA_PLATFORM", QByteArray(platform.data(), qsizetype(platform.size())));
  }
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Vorrik"));
  vorrik::applyDarkTheme(app);

  const std::unique_ptr<vorrik::Desktop> desktop = choice.backend->open(session);
  vorrik::L::install({&desktop->defaults(), &desktop->preferredLanguages(), &desktop->center()});
  vorrik::posix::MonotonicSleeper sleeper;
  vorrik::posix::SystemRandom random;

  int status = 0;
  {
    vorrik::VorrikPanel panel(vorrik::VorrikPanel::Services::from(
        *desktop, sleeper, random, std::make_unique<vorrik::posix::WorkerTimer>()));
    // On its own the panel is the whole application: closing it ends the process.
    panel.setAttribute(Qt::WA_QuitOnClose, true);
    panel.show();
    status = QApplication::exec();
  }
  vorrik::L::install({});
  return status;
}
