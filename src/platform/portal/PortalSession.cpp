// SPDX-License-Identifier: MIT
#include "platform/portal/PortalSession.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QLoggingCategory>
#include <QTimer>

#include <fcntl.h>

#include <chrono>
#include <utility>

namespace vorrik::portal {
namespace {

const QString kSession = QString::fromLatin1(kSessionInterface);
constexpr const char* kRestoreTokenKey = "portalRestoreToken";
// A desktop that does not answer an event within this is not clicking anyway.
constexpr int kEventTimeoutMs = 1000;
// A Start pressed again this long after the desktop was to show its dialog asks anew: the
// desktop may have lost the dialog (GNOME 43 showed none after a refusal, now and then), and a
// dialog still up is shown again rather than left unanswered.
constexpr std::chrono::seconds kDialogLostAfter{10};
// The compositor resumes the EIS devices as soon as it has set them up; one that has not within
// this never will, and the session would otherwise stay asking.
constexpr int kEisResumeTimeoutMs = 30000;

// Device types and persistence, as the RemoteDesktop portal numbers them.
constexpr uint kPointer = 2;
constexpr uint kPersistUntilRevoked = 2;

}  // namespace

std::optional<unsigned> remoteDesktopVersion() {
  return portalVersion(kRemoteDesktop);
}

PortalSession::PortalSession(DefaultsStore& defaults, unsigned version)
    : bus_(QDBusConnection::connectToBus(
          QDBusConnection::SessionBus,
          QStringLiteral("vorrik-portal-%1").arg(reinterpret_cast<quintptr>(this)))),
      defaults_(defaults),
      version_(version),
      portals_(QString::fromLatin1(kPortalService), bus_,
               QDBusServiceWatcher::WatchForUnregistration),
      registration_(bus_) {
  // GNOME 43's portal keeps answering events with success after its GNOME half has died, and
  // sends no Closed: the half's name leaving the bus is the only sign. A half that serves some
  // other portal and dies costs a needless question at the next Start.
  portals_.addWatchedService(QStringLiteral("org.freedesktop.impl.portal.desktop*"));
  connect(&portals_, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
    if (state_.load() != State::idle) {
      qCWarning(lcPortal) << "the portal left the bus; remote desktop lost";
      lose();
    }
  });
}

PortalSession::~PortalSession() {
  const QString name = bus_.name();
  {
    std::lock_guard lock(mutex_);
    if (eis_) {
      std::exchange(eis_, nullptr)->close();
    }
    if (!session_.isEmpty()) {
      closeSession(bus_, session_);
    }
  }
  bus_ = QDBusConnection(QString());
  QDBusConnection::disconnectFromBus(name);
}

bool PortalSession::remembersConsent() const {
  const auto token = defaults_.stringForKey(kRestoreTokenKey);
  return restores() && token && !token->empty();
}

void PortalSession::ask(const QString& parentWindow) {
  if (state_.load() == State::asking && step_ == Step::start &&
      std::chrono::steady_clock::now() - dialogAsked_ >= kDialogLostAfter) {
    qCInfo(lcPortal) << "asking again: the desktop's dialog never answered";
    forgetRequest(bus_, requestPath_, this, SLOT(onResponse(uint, QVariantMap)));
    closeRequest(bus_, requestPath_);
    endSession();
    step_ = Step::none;
    state_.store(State::idle);
  }
  if (state_.load() != State::idle) {
    return;
  }
  if (!bus_.isConnected()) {
    qCWarning(lcPortal) << "no session bus:" << bus_.lastError().message();
    answered(false);
    return;
  }
  state_.store(State::asking);
  parentWindow_ = parentWindow;
  restoring_ = false;
  QVariantMap options{
      {QStringLiteral("session_handle_token"), QStringLiteral("vorrik%1").arg(++counter_)}};
  // Remote desktop works without the ID, so a failed registration goes unsaid here; F6, which
  // needs it, says so on its own connection.
  registration_.whenReady([this, options] {
    if (state_.load() == State::asking && step_ == Step::none) {
      request(Step::create, QStringLiteral("CreateSession"), {}, options);
    }
  });
}

bool PortalSession::request(Step step, const QString& method, QVariantList args,
                            const QVariantMap& options) {
  step_ = step;
  // Only Start shows the dialog; every way it ends goes through answered().
  setDialog(step == Step::start);
  if (step == Step::start) {
    dialogAsked_ = std::chrono::steady_clock::now();
  }
  args.append(options);
  requestPath_ =
      sendRequest(bus_, QString::fromLatin1(kRemoteDesktop), method, std::move(args),
                  QStringLiteral("vorrik%1").arg(++counter_), this,
                  SLOT(onResponse(uint, QVariantMap)), [this, step](const QDBusError& e) {
                    if (step_ == step) {
                      qCWarning(lcPortal) << "portal request failed:" << e.message();
                      answered(false);
                    }
                  });
  return true;
}

void PortalSession::onResponse(uint response, const QVariantMap& results) {
  forgetRequest(bus_, requestPath_, this, SLOT(onResponse(uint, QVariantMap)));
  const Step step = std::exchange(step_, Step::none);
  if (response != 0) {
    // 1: the user refused; 2: the desktop ended the dialog some other way.
    qCInfo(lcPortal) << "remote desktop refused, response" << response;
    if (step == Step::start && std::exchange(restoring_, false)) {
      // The token did not restore the session, and the user said no (or was not asked): the
      // desktop no longer remembers, and the next launch explains its dialog again.
      defaults_.setString(kRestoreTokenKey, "");
    }
    answered(false);
    return;
  }
  QString session;
  {
    std::lock_guard lock(mutex_);
    session = session_;
  }
  switch (step) {
    case Step::create: {
      session = results.value(QStringLiteral("session_handle")).toString();
      {
        std::lock_guard lock(mutex_);
        session_ = session;
      }
      bus_.connect(QString::fromLatin1(kPortalService), session, kSession, QStringLiteral("Closed"),
                   this, SLOT(onClosed(QVariantMap)));
      QVariantMap options{{QStringLiteral("types"), kPointer}};
      if (restores()) {
        options.insert(QStringLiteral("persist_mode"), kPersistUntilRevoked);
        if (const auto token = defaults_.stringForKey(kRestoreTokenKey); token && !token->empty()) {
          options.insert(QStringLiteral("restore_token"), QString::fromStdString(*token));
          restoring_ = true;
        }
      }
      request(Step::select, QStringLiteral("SelectDevices"),
              {QVariant::fromValue(QDBusObjectPath(session))}, options);
      return;
    }
    case Step::select:
      request(Step::start, QStringLiteral("Start"),
              {QVariant::fromValue(QDBusObjectPath(session)), parentWindow_}, {});
      return;
    case Step::start: {
      if ((results.value(QStringLiteral("devices")).toUInt() & kPointer) == 0) {
        qCWarning(lcPortal) << "remote desktop started without a pointer";
        answered(false);
        return;
      }
      if (const QString token = results.value(QStringLiteral("restore_token")).toString();
          !token.isEmpty()) {
        defaults_.setString(kRestoreTokenKey, token.toStdString());
      }
      // Once an EIS connection exists the portal refuses the D-Bus events, so it is asked for
      // only where it will serve.
      if (version_ >= 2 && EisPointer::builtIn()) {
        connectEis(session);
        return;
      }
      start(EisPointer::builtIn() ? "D-Bus (the portal offers no EIS)"
                                  : "D-Bus (built without libei)");
      // The desktop drops buttons until the session has moved the pointer once; a motion by
      // nothing moves nothing.
      pointerMotion(0, 0);
      answered(true);
      return;
    }
    case Step::none:
      return;
  }
}

void PortalSession::start(const char* path) {
  qCInfo(lcPortal).noquote() << "remote desktop started; clicks go through" << path;
  state_.store(State::started);
}

void PortalSession::connectEis(const QString& session) {
  QDBusMessage call =
      portalCall(QString::fromLatin1(kRemoteDesktop), QStringLiteral("ConnectToEIS"));
  call.setArguments({QVariant::fromValue(QDBusObjectPath(session)), QVariantMap{}});
  auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
  connect(
      watcher, &QDBusPendingCallWatcher::finished, this,
      [this, session](QDBusPendingCallWatcher* done) {
        done->deleteLater();
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *done;
        {
          // An answer for a session that has since ended.
          std::lock_guard lock(mutex_);
          if (state_.load() != State::asking || session_ != session) {
            return;
          }
        }
        if (reply.isError()) {
          qCWarning(lcPortal) << "no EIS connection:" << reply.error().message();
          start("D-Bus (the portal gave no EIS socket)");
          pointerMotion(0, 0);
          answered(true);
          return;
        }
        // The reply closes its descriptor; libei takes a copy of its own.
        const int fd = fcntl(reply.value().fileDescriptor(), F_DUPFD_CLOEXEC, 0);
        std::shared_ptr<EisPointer> eis =
            fd < 0 ? nullptr
                   : EisPointer::open(fd, {.ready =
                                               [this] {
                                                 if (state_.load() == State::asking) {
                                                   start("EIS (libei)");
                                                   answered(true);
                                                 }
                                               },
                                           .lost =
                                               [this](const QString& reason) {
                                                 qCWarning(lcPortal).noquote()
                                                     << "remote desktop lost:" << reason;
                                                 lose();
                                               }});
        if (!eis) {
          qCWarning(lcPortal) << "the EIS socket could not be used";
          answered(false);
          return;
        }
        const std::weak_ptr<EisPointer> asked = eis;
        {
          std::lock_guard lock(mutex_);
          eis_ = std::move(eis);
        }
        QTimer::singleShot(kEisResumeTimeoutMs, this, [this, asked] {
          if (state_.load() == State::asking && !asked.expired() && this->eis() == asked.lock()) {
            qCWarning(lcPortal) << "the compositor never resumed the EIS devices; giving up";
            answered(false);
          }
        });
      });
}

std::shared_ptr<EisPointer> PortalSession::eis() const {
  std::lock_guard lock(mutex_);
  return eis_;
}

void PortalSession::onClosed(const QVariantMap& /*details*/) {
  {
    // Gone already: nothing to close.
    std::lock_guard lock(mutex_);
    session_.clear();
  }
  lose();
}

void PortalSession::lose() {
  const State state = state_.load();
  answered(false);
  if ((state == State::started || state == State::lost) && onRevoked) {
    onRevoked();
  }
}

void PortalSession::endSession() {
  QString session;
  std::shared_ptr<EisPointer> eis;
  {
    std::lock_guard lock(mutex_);
    session = std::exchange(session_, QString());
    eis = std::exchange(eis_, nullptr);
  }
  if (eis) {
    eis->close();
  }
  if (!session.isEmpty()) {
    bus_.disconnect(QString::fromLatin1(kPortalService), session, kSession,
                    QStringLiteral("Closed"), this, SLOT(onClosed(QVariantMap)));
    closeSession(bus_, session);
  }
}

void PortalSession::answered(bool started) {
  if (!started) {
    endSession();
    step_ = Step::none;
    state_.store(State::idle);
  }
  setDialog(false);
  if (onAnswered) {
    onAnswered(started);
  }
}

void PortalSession::setDialog(bool open) {
  if (std::exchange(dialog_, open) != open && onDialog) {
    onDialog(open);
  }
}

void PortalSession::send(const QString& method, const QVariantList& args) {
  QString session;
  {
    // Not held during the call: the main thread must never wait for the worker's round trip.
    std::lock_guard lock(mutex_);
    session = session_;
  }
  if (state_.load() != State::started || session.isEmpty()) {
    return;
  }
  QDBusMessage call = portalCall(QString::fromLatin1(kRemoteDesktop), method);
  QVariantList all{QVariant::fromValue(QDBusObjectPath(session)), QVariantMap{}};
  all.append(args);
  call.setArguments(all);
  // The portal handles each call on a thread of its own, so two calls sent back to back may
  // reach the desktop in either order (a press overtook the motion before it in about one
  // click in five, measured); only a call it has answered is known to have been passed on.
  const QDBusMessage reply = bus_.call(call, QDBus::Block, kEventTimeoutMs);
  // A late answer says nothing of the event, which may well have arrived: a loaded desktop would
  // otherwise ask the user again. Any other error means the portal no longer knows the session.
  if (reply.type() != QDBusMessage::ErrorMessage ||
      reply.errorName() == QDBusError::errorString(QDBusError::NoReply) ||
      reply.errorName() == QDBusError::errorString(QDBusError::Timeout)) {
    return;
  }
  {
    // Under the lock, so that an answer about an earlier session never loses a newer one.
    std::lock_guard lock(mutex_);
    State expected = State::started;
    if (session_ != session || !state_.compare_exchange_strong(expected, State::lost)) {
      return;
    }
  }
  qCWarning(lcPortal) << "remote desktop lost:" << reply.errorName() << reply.errorMessage();
  // Queued to the session itself, so nothing runs once it is gone.
  QMetaObject::invokeMethod(
      this,
      [this] {
        if (state_.load() == State::lost) {
          lose();
        }
      },
      Qt::QueuedConnection);
}

void PortalSession::pointerButton(int evdevButton, bool pressed) {
  send(QStringLiteral("NotifyPointerButton"), {evdevButton, uint(pressed ? 1 : 0)});
}

void PortalSession::pointerMotion(double dx, double dy) {
  send(QStringLiteral("NotifyPointerMotion"), {dx, dy});
}

}  // namespace vorrik::portal
