// SPDX-License-Identifier: MIT
#include "platform/portal/PortalBus.h"

#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QLatin1Char>

namespace vorrik::portal {

Q_LOGGING_CATEGORY(lcPortal, "vorrik.portal")

QDBusMessage portalCall(const QString& interface, const QString& method) {
  return QDBusMessage::createMethodCall(QString::fromLatin1(kPortalService),
                                        QString::fromLatin1(kPortalObject), interface, method);
}

QString requestPath(const QDBusConnection& bus, const QString& token) {
  QString sender = bus.baseService().mid(1);
  sender.replace(QLatin1Char('.'), QLatin1Char('_'));
  return QString::fromLatin1(kPortalObject) + QStringLiteral("/request/") + sender +
         QLatin1Char('/') + token;
}

QString sendRequest(QDBusConnection& bus, const QString& interface, const QString& method,
                    QVariantList args, const QString& token, QObject* receiver,
                    const char* responseSlot, std::function<void(const QDBusError&)> failed) {
  // The portal answers on an object whose path follows from our bus name and the token; listening
  // there before calling means no answer is missed. QtDBus connects signals by slot signature.
  QString path = requestPath(bus, token);
  bus.connect(QString::fromLatin1(kPortalService), path, QString::fromLatin1(kRequestInterface),
              QStringLiteral("Response"), receiver, responseSlot);
  QVariantMap options = args.takeLast().toMap();
  options.insert(QStringLiteral("handle_token"), token);
  args.append(options);
  QDBusMessage call = portalCall(interface, method);
  call.setArguments(args);
  auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), receiver);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, receiver,
                   [failed = std::move(failed)](QDBusPendingCallWatcher* done) {
                     done->deleteLater();
                     if (done->isError()) {
                       failed(done->error());
                     }
                   });
  return path;
}

void forgetRequest(QDBusConnection& bus, const QString& path, QObject* receiver,
                   const char* responseSlot) {
  bus.disconnect(QString::fromLatin1(kPortalService), path, QString::fromLatin1(kRequestInterface),
                 QStringLiteral("Response"), receiver, responseSlot);
}

std::optional<unsigned> portalVersion(const char* interface) {
  const QString name = QStringLiteral("vorrik-portal-probe");
  std::optional<unsigned> version;
  {
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
    QDBusMessage get =
        portalCall(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << QString::fromLatin1(interface) << QStringLiteral("version");
    const QDBusMessage reply = bus.call(get, QDBus::Block, 5000);
    if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()) {
      const QVariant value = reply.arguments().constFirst().value<QDBusVariant>().variant();
      bool ok = false;
      const uint number = value.toUInt(&ok);
      if (ok) {
        version = number;
      }
    }
  }
  QDBusConnection::disconnectFromBus(name);
  return version;
}

void closeRequest(const QDBusConnection& bus, const QString& path) {
  bus.send(QDBusMessage::createMethodCall(QString::fromLatin1(kPortalService), path,
                                          QStringLiteral("org.freedesktop.portal.Request"),
                                          QStringLiteral("Close")));
}

void closeSession(const QDBusConnection& bus, const QString& session) {
  bus.send(QDBusMessage::createMethodCall(QString::fromLatin1(kPortalService), session,
                                          QString::fromLatin1(kSessionInterface),
                                          QStringLiteral("Close")));
}

}  // namespace vorrik::portal
