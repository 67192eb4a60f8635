// SPDX-License-Identifier: MIT
#pragma once

// What every client of the desktop portal shares: where the portal is, where it answers a
// request, and which of its interfaces it offers.

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QLoggingCategory>
#include <QString>

#include <functional>
#include <optional>

namespace vorrik::portal {

inline constexpr const char* kPortalService = "org.freedesktop.portal.Desktop";
inline constexpr const char* kPortalObject = "/org/freedesktop/portal/desktop";
inline constexpr const char* kRequestInterface = "org.freedesktop.portal.Request";
inline constexpr const char* kSessionInterface = "org.freedesktop.portal.Session";

Q_DECLARE_LOGGING_CATEGORY(lcPortal)

// A call of method through interface on the portal's object.
QDBusMessage portalCall(const QString& interface, const QString& method);

// The object on which the portal answers a request sent on bus with handle_token token; known
// before the call, so that its Response can be listened for first.
QString requestPath(const QDBusConnection& bus, const QString& token);

// Sends method of interface as a portal request whose options (the last of args) carry
// handle_token token. The request's Response is connected to receiver's responseSlot (a SLOT()
// signature) before the call, so none is missed; failed runs on receiver's thread when the call
// itself fails. Returns the request's object path.
QString sendRequest(QDBusConnection& bus, const QString& interface, const QString& method,
                    QVariantList args, const QString& token, QObject* receiver,
                    const char* responseSlot, std::function<void(const QDBusError&)> failed);

// Asks the portal to end the request at path (its Request.Close), without waiting.
void closeRequest(const QDBusConnection& bus, const QString& path);

// Stops listening for the Response of the request at path.
void forgetRequest(QDBusConnection& bus, const QString& path, QObject* receiver,
                   const char* responseSlot);

// The version of the portal's interface on the session bus, or nothing when no portal offers
// it. Safe before the QCoreApplication exists.
std::optional<unsigned> portalVersion(const char* interface);

// Tells the portal that this process is done with session (its Session.Close), without waiting.
void closeSession(const QDBusConnection& bus, const QString& session);

}  // namespace vorrik::portal
