// SPDX-License-Identifier: MIT
#pragma once

// Which GNOME Shell the end-to-end programs run against: its dialogs and portals differ by
// release.

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <QProcess>
#include <QRegularExpression>
#include <QString>

namespace vorrik::e2e {

// The running GNOME Shell's major version: its ShellVersion property, else what the installed
// shell says of itself; 0 when neither tells.
inline int shellMajor() {
  QDBusMessage get = QDBusMessage::createMethodCall(
      QStringLiteral("org.gnome.Shell"), QStringLiteral("/org/gnome/Shell"),
      QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  get << QStringLiteral("org.gnome.Shell") << QStringLiteral("ShellVersion");
  const QDBusReply<QDBusVariant> reply = QDBusConnection::sessionBus().call(get);
  QString version = reply.isValid() ? reply.value().variant().toString() : QString();
  if (version.isEmpty()) {
    QProcess shell;
    shell.start(QStringLiteral("gnome-shell"), {QStringLiteral("--version")});
    shell.waitForFinished();
    version = QString::fromUtf8(shell.readAllStandardOutput());
  }
  const QRegularExpressionMatch match =
      QRegularExpression(QStringLiteral("(\\d+)\\.")).match(version);
  return match.hasMatch() ? match.captured(1).toInt() : 0;
}

}  // namespace vorrik::e2e
