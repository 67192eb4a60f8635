// SPDX-License-Identifier: MIT
#pragma once

// The desktop portal's remote-desktop session (org.freedesktop.portal.RemoteDesktop): the
// desktop asks the user once, then this process may send pointer events until the session
// closes. GNOME and KDE Plasma offer it; it is how an application clicks there.

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/DefaultsStore.h"
#include "platform/portal/HostRegistration.h"
#include "platform/portal/PortalBus.h"
#include "platform/portal/PortalEis.h"

namespace vorrik::portal {

inline constexpr const char* kRemoteDesktop = "org.freedesktop.portal.RemoteDesktop";

// The RemoteDesktop portal's version on the session bus, or nothing when no portal offers it.
// Safe before the QCoreApplication exists.
std::optional<unsigned> remoteDesktopVersion();

// One remote-desktop session for the life of the process, asked for on the main thread and
// used for pointer events from any thread. Requests travel on a connection of its own, and
// so do the events: the portal takes them only from the connection that made the session.
class PortalSession final : public QObject {
  Q_OBJECT

 public:
  // lost: an event call failed on a started session; the main thread soon makes it idle.
  enum class State { idle, asking, started, lost };

  // defaults keeps the restore token where the portal offers one (version 2 and later).
  PortalSession(DefaultsStore& defaults, unsigned version);
  ~PortalSession() override;
  PortalSession(const PortalSession&) = delete;
  PortalSession& operator=(const PortalSession&) = delete;

  // Asks the desktop for the session unless it is started or being asked for (a dialog asked
  // for long ago and never answered is asked for anew); the desktop may show its consent dialog
  // over parentWindow (a portal window handle, or empty). Main thread.
  void ask(const QString& parentWindow = {});
  // Whether the desktop remembers the user's consent: the portal restores sessions and holds a
  // token from the last one, so the next ask starts the session without a dialog. Main thread.
  [[nodiscard]] bool remembersConsent() const;
  // Whether the portal can restore a session, so that the dialog offers to remember the answer.
  [[nodiscard]] bool restores() const { return version_ >= 2; }
  // Where the session stands; any thread.
  [[nodiscard]] State state() const { return state_.load(); }
  // Called on the main thread when a started session ends without this process ending it (the
  // user or the desktop revoked it, or the portal lost it); the next ask() asks again.
  std::function<void()> onRevoked;
  // Called on the main thread when an ask ends: true when the session started.
  std::function<void(bool)> onAnswered;
  // Called on the main thread with true when the desktop may show its consent dialog, and with
  // false once that request is over, however it ended.
  std::function<void(bool)> onDialog;

  // Pointer events for the started session; each does nothing when it is not started, and
  // returns once the portal has passed it on, so that events arrive in the order sent. An error
  // answer loses the session. Any thread.
  void pointerButton(int evdevButton, bool pressed);
  void pointerMotion(double dx, double dy);
  // The EIS connection that clicks for the started session instead of the calls above, or
  // nothing where the portal or the build has none. Any thread; hold it only for the events.
  [[nodiscard]] std::shared_ptr<EisPointer> eis() const;

 private Q_SLOTS:
  // The Response signal of the request in flight.
  void onResponse(uint response, const QVariantMap& results);
  // The session's Closed signal.
  void onClosed(const QVariantMap& details);

 private:  // NOLINT(readability-redundant-access-specifiers): after moc's slot section
  enum class Step { none, create, select, start };
  // Sends method with args as a portal request whose answer comes through onResponse.
  bool request(Step step, const QString& method, QVariantList args, const QVariantMap& options);
  void answered(bool started);
  // Closes the session, and its EIS connection, if there is one.
  void endSession();
  void setDialog(bool open);
  // Ends a session that broke without a Closed signal as if the desktop had revoked it.
  void lose();
  void send(const QString& method, const QVariantList& args);
  // After Start: asks for the EIS socket, and starts once its devices take events.
  void connectEis(const QString& session);
  // Marks the session started, with events sent through path (for the log).
  void start(const char* path);

  QDBusConnection bus_;
  DefaultsStore& defaults_;
  unsigned version_;
  QString parentWindow_;
  // Whether the ask in progress sent a restore token.
  bool restoring_ = false;
  bool dialog_ = false;  // what onDialog last heard
  Step step_ = Step::none;
  std::chrono::steady_clock::time_point dialogAsked_;  // when Start, which shows it, was sent
  QString requestPath_;
  unsigned counter_ = 0;
  std::atomic<State> state_{State::idle};
  mutable std::mutex mutex_;
  QString session_;                  // guarded by mutex_: the worker reads it
  std::shared_ptr<EisPointer> eis_;  // guarded by mutex_
  // The portal and the desktop's halves of it hold the session: one leaving the bus ends it.
  QDBusServiceWatcher portals_;
  // Vorrik's application ID on bus_, before its first portal call.
  HostRegistration registration_;
};

}  // namespace vorrik::portal
