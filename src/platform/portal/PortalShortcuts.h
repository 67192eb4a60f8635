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
#include "platform/portal/HostRegistration.h"

namespace vorrik::portal {

inline constexpr const char* kGlobalShortcuts = "org.freedesktop.portal.GlobalShortcuts";

// One shortcut, "toggle", asked for with F6 as its preferred key: each activation reaches every
// key monitor as an F6 press, whichever key the user has since bound it to in the desktop's
// settings. The desktop is asked once, when the first key monitor is added; if it refuses, or
// later closes the session, key monitors stay silent for the rest of the process and
// onUnavailable says so. Requests travel on a connection of their own, which registers Vorrik's
// application ID before its first portal call. Main thread.
class PortalShortcuts final : public QObject, public InputMonitor {
  Q_OBJECT

 public:
  // The shortcut's id, as the desktop lists it in its settings and names it in Activated.
  static constexpr const char* kShortcutId = "toggle";

  // How the desktop treats a shortcut it already lists for the application.
  enum class Listed {
    // Binds it again: the key is active only after a bind in this session.
    rebind,
    // Keeps it active without a bind (KDE Plasma's version 1 interface, whose every bind opens
    // the shortcut settings on Plasma 6.1 to 6.3).
    keep,
  };

  // description is what the desktop shows beside the key in its settings.
  explicit PortalShortcuts(Listed listed = Listed::rebind,
                           QString description = QStringLiteral("Start or stop clicking"));
  ~PortalShortcuts() override;
  PortalShortcuts(const PortalShortcuts&) = delete;
  PortalShortcuts& operator=(const PortalShortcuts&) = delete;

  // Calls handler with Key::f6 for every activation of the shortcut; the first one asks the
  // desktop for it.
  std::optional<Handle> addKeyMonitor(std::function<void(Key)> handler) override;
  void remove(Handle handle) override;

  // Called once, on the main thread, when F6 will not come this way: the desktop refused the
  // shortcut or closed its session.
  std::function<void()> onUnavailable;
  // Called on the main thread with true when the desktop may show its dialog for the shortcut,
  // and with false once that request is over, however it ended.
  std::function<void(bool)> onDialog;

 private Q_SLOTS:
  // The Response signal of the request in flight.
  void onResponse(uint response, const QVariantMap& results);
  // The portal's Activated signal, for any session of this connection.
  void onActivated(const QDBusMessage& message);
  // The session's Closed signal.
  void onClosed(const QVariantMap& details);

 private:  // NOLINT(readability-redundant-access-specifiers): after moc's slot section
  enum class Step { none, create, list, bind, bound, failed };
  // Sends method as a portal request whose answer comes through onResponse.
  void request(Step step, const QString& method, QVariantList args);
  // Asks the desktop to bind the shortcut, preferring F6.
  void bind();
  // Gives up on the shortcut for good, saying why once.
  void fail(const QString& why);
  void setDialog(bool open);

  // A session-bus connection of its own: the portal ties the session and the application ID to
  // it, and takes the ID only before any other call on it.
  QDBusConnection bus_;
  HostRegistration registration_;
  Listed listed_;
  QString description_;
  Step step_ = Step::none;
  bool dialog_ = false;  // what onDialog last heard
  QString requestPath_;
  QString session_;
  Handle nextHandle_ = 1;
  std::map<Handle, std::function<void(Key)>> handlers_;
};

}  // namespace vorrik::portal
