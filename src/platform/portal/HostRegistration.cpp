// SPDX-License-Identifier: MIT
#include "platform/portal/HostRegistration.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

#include <utility>

#include "platform/portal/PortalBus.h"

namespace vorrik::portal {
namespace {

const QString kRegistry = QString::fromLatin1(kHostRegistry);

// Sends call on bus; done gets the reply, or the error, on receiver's thread.
void callAsync(QDBusConnection& bus, const QDBusMessage& call, QObject* receiver,
               std::function<void(const QDBusMessage&)> done) {
  auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), receiver);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, receiver,
                   [done = std::move(done)](QDBusPendingCallWatcher* finished) {
                     finished->deleteLater();
                     done(finished->reply());
                   });
}

}  // namespace

HostRegistration::HostRegistration(QDBusConnection bus, QString appId)
    : bus_(std::move(bus)),
      appId_(std::move(appId)),
      portal_(QString::fromLatin1(kPortalService), bus_, QDBusServiceWatcher::WatchForOwnerChange) {
  connect(&portal_, &QDBusServiceWatcher::serviceOwnerChanged, this,
          [this](const QString& /*name*/, const QString& /*old*/, const QString& owner) {
            if (!owner.isEmpty()) {
              start();
            }
          });
  start();
}

void HostRegistration::whenReady(std::function<void()> then) {
  if (ready_) {
    then();
    return;
  }
  waiting_.push_back(std::move(then));
}

void HostRegistration::start() {
  const unsigned attempt = ++attempt_;
  ready_ = false;
  if (!bus_.isConnected()) {
    finish(attempt, QStringLiteral("no session bus"));
    return;
  }
  // The registry says its version first; a portal without one (before 1.19.4) has no registry.
  QDBusMessage get =
      portalCall(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  get << kRegistry << QStringLiteral("version");
  callAsync(bus_, get, this, [this, attempt](const QDBusMessage& reply) {
    if (attempt != attempt_) {
      return;
    }
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty() ||
        !reply.arguments().constFirst().value<QDBusVariant>().variant().canConvert<uint>()) {
      finish(attempt, QStringLiteral("the desktop portal has no application registry (") +
                          reply.errorMessage() + QLatin1Char(')'));
      return;
    }
    QDBusMessage call = portalCall(kRegistry, QStringLiteral("Register"));
    call << appId_ << QVariantMap{};
    callAsync(bus_, call, this, [this, attempt](const QDBusMessage& answer) {
      if (attempt == attempt_) {
        finish(attempt, answer.type() == QDBusMessage::ReplyMessage
                            ? QString()
                            : QStringLiteral("the desktop portal did not register ") + appId_ +
                                  QStringLiteral(" (") + answer.errorMessage() + QLatin1Char(')'));
      }
    });
  });
}

void HostRegistration::finish(unsigned attempt, const QString& why) {
  if (attempt != attempt_) {
    return;
  }
  ready_ = true;
  if (!why.isEmpty() && onFailed) {
    onFailed(why);
  }
  // A waiting call may add another.
  for (auto waiting = std::exchange(waiting_, {}); auto& then : waiting) {
    then();
  }
}

}  // namespace vorrik::portal
