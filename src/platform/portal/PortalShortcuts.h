// SPDX-License-Identifier: MIT
#pragma once

// F6 through the desktop portal's global shortcuts (org.freedesktop.portal.GlobalShortcuts):
// the desktop keeps the key and tells the application when it is pressed, which is how an
// application hears a key pressed in others on KDE Plasma and on GNOME releases that offer it.

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <map>
#include <optional>

#include "platform/InputMonitor.h"

namespace vorrik::portal {

inline constexpr const char* kGlobalShortcuts = "org.freedesktop.portal.GlobalShortcuts";

// One shortcut, "toggle", asked for with F6 as its preferred key: each activation reaches every
// key monitor as an F6 press, whichever key the user has since bound it to in the desktop's
// settings. The desktop is asked once, when the first key monitor is added; if it refuses, or
// later closes the session, key monitors stay silent for the rest of the process. Main thread.
class PortalShortcuts final : public QObject, public InputMonitor {
  Q_OBJECT

 public:
  // The shortcut's id, as the desktop lists it in its settings and names it in Activated.
  static constexpr const char* kShortcutId = "toggle";

  // description is what the desktop shows beside the key in its settings.
  explicit PortalShortcuts(QString description = QStringLiteral("Start or stop clicking"));
  ~PortalShortcuts() override;
  PortalShortcuts(const PortalShortcuts&) = delete;
  PortalShortcuts& operator=(const PortalShortcuts&) = delete;

  // Calls handler with Key::f6 for every activation of the shortcut; the first one asks the
  // desktop for it.
  std::optional<Handle> addKeyMonitor(std::function<void(Key)> handler) override;
  // Nothing: the portal reports keys only.
  std::optional<Handle> addLeftPressMonitor(std::function<void()> /*handler*/) override {
    return std::nullopt;
  }
  void remove(Handle handle) override;

 private Q_SLOTS:
  // The Response signal of the request in flight.
  void onResponse(uint response, const QVariantMap& results);
  // The portal's Activated signal, for any session of this connection.
  void onActivated(const QDBusMessage& message);
  // The session's Closed signal.
  void onClosed(const QVariantMap& details);

 private:  // NOLINT(readability-redundant-access-specifiers): after moc's slot section
  enum class Step { none, create, bind, bound, failed };
  // Sends method as a portal request whose answer comes through onResponse.
  void request(Step step, const QString& method, QVariantList args);
  // Gives up on the shortcut for good, saying why once.
  void fail(const QString& why);

  // The process's own session-bus connection: the portal ties the session to it.
  QDBusConnection bus_;
  QString description_;
  Step step_ = Step::none;
  QString requestPath_;
  QString session_;
  Handle nextHandle_ = 1;
  std::map<Handle, std::function<void(Key)>> handlers_;
};

}  // namespace vorrik::portal
