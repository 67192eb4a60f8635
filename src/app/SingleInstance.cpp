// SPDX-License-Identifier: MIT
#include "app/SingleInstance.h"

#include <unistd.h>

#include <QLocalSocket>

#include <utility>

namespace vorrik {
namespace {

constexpr int kConnectMs = 500;
const QByteArray kReopen = QByteArrayLiteral("reopen\n");

}  // namespace

QString SingleInstance::defaultName() {
  return QStringLiteral("vorrik-%1").arg(static_cast<qulonglong>(::getuid()));
}

SingleInstance::SingleInstance(QString name, QObject* parent)
    : QObject(parent), name_(std::move(name)) {
  server_.setSocketOptions(QLocalServer::UserAccessOption);
  connect(&server_, &QLocalServer::newConnection, this, &SingleInstance::accept);
}

bool SingleInstance::claim() {
  if (askRunningInstance()) {
    return false;
  }
  if (server_.listen(name_)) {
    return true;
  }
  // Nobody answered, so the socket file is left over from a copy that crashed.
  QLocalServer::removeServer(name_);
  if (server_.listen(name_)) {
    return true;
  }
  // Another copy started in between: let that one be the instance. If even that fails, run
  // without the guard rather than not at all.
  return !askRunningInstance();
}

bool SingleInstance::askRunningInstance() {
  QLocalSocket socket;
  socket.connectToServer(name_);
  if (!socket.waitForConnected(kConnectMs)) {
    return false;
  }
  socket.write(kReopen);
  const bool sent = socket.waitForBytesWritten(kConnectMs);
  socket.disconnectFromServer();
  if (socket.state() != QLocalSocket::UnconnectedState) {
    socket.waitForDisconnected(kConnectMs);
  }
  return sent;
}

void SingleInstance::accept() {
  while (QLocalSocket* socket = server_.nextPendingConnection()) {
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    const auto read = [this, socket] {
      while (socket->canReadLine()) {
        if (socket->readLine() == kReopen) {
          emit reopenRequested();
        }
      }
    };
    connect(socket, &QLocalSocket::readyRead, this, read);
    read();
  }
}

}  // namespace vorrik
