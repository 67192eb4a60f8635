// SPDX-License-Identifier: MIT
#pragma once

// Tells the desktop portal which application this process is. A process outside a sandbox has
// no application ID unless its systemd scope names one, and without one the desktop files its
// global shortcuts under no name, or (xdg-desktop-portal 1.21 and later) refuses them.

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

#include <functional>
#include <vector>

namespace vorrik::portal {

inline constexpr const char* kHostRegistry = "org.freedesktop.host.portal.Registry";
// Vorrik's application ID, the name of its desktop entry.
inline constexpr const char* kAppId = VORRIK_APP_ID;

// Registers appId (org.freedesktop.host.portal.Registry.Register) on one bus connection: at
// once, as the portal takes it only before any other call on that connection, and again each
// time the portal's name gets a new owner, as a restarted portal knows nothing of it. Main thread.
class HostRegistration final : public QObject {
  Q_OBJECT

 public:
  explicit HostRegistration(QDBusConnection bus, QString appId = QString::fromLatin1(kAppId));

  // Runs then once the current registration has ended, whether it worked or not; at once when
  // it has ended already. Portal calls on the connection belong in then.
  void whenReady(std::function<void()> then);
  // Called with why, each time a registration fails or the portal offers no registry.
  std::function<void(const QString& why)> onFailed;

 private:
  void start();
  void finish(unsigned attempt, const QString& why);

  QDBusConnection bus_;
  QString appId_;
  bool ready_ = false;
  // Which start() an answer belongs to: a restart makes earlier answers moot.
  unsigned attempt_ = 0;
  std::vector<std::function<void()>> waiting_;
  QDBusServiceWatcher portal_;
};

}  // namespace vorrik::portal
