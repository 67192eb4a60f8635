// SPDX-License-Identifier: MIT
#include "platform/portal/PortalBus.h"

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

void closeSession(const QDBusConnection& bus, const QString& session) {
  bus.send(QDBusMessage::createMethodCall(QString::fromLatin1(kPortalService), session,
                                          QString::fromLatin1(kSessionInterface),
                                          QStringLiteral("Close")));
}

}  // namespace vorrik::portal
