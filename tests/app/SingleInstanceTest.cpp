// SPDX-License-Identifier: MIT
// One instance per user: a second launch wakes the first, a crashed one's socket is reclaimed.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTest>
#include <QUuid>

#include <cstring>

#include "app/SingleInstance.h"

namespace vorrik {

class SingleInstanceTest : public QObject {
  Q_OBJECT

  static QString uniqueName() {
    return QStringLiteral("vorrik-test-") + QUuid::createUuid().toString(QUuid::Id128).left(12);
  }

 private slots:
  void theNameBelongsToTheUser() {
    QVERIFY(SingleInstance::defaultName().contains(QString::number(::getuid())));
  }

  void aSecondLaunchWakesTheFirst() {
    const QString name = uniqueName();
    SingleInstance first(name);
    QVERIFY(first.claim());
    QSignalSpy reopened(&first, &SingleInstance::reopenRequested);

    SingleInstance second(name);
    QVERIFY(!second.claim());
    QVERIFY(reopened.wait(5000) || reopened.count() == 1);
    QCOMPARE(reopened.count(), 1);

    SingleInstance third(name);
    QVERIFY(!third.claim());
    QTRY_COMPARE(reopened.count(), 2);
  }

  void aSocketLeftByACrashIsTakenOver() {
    const QString name = uniqueName();
    // A bound socket that nobody listens on: what a killed instance leaves behind.
    const QByteArray path = QDir(QDir::tempPath()).filePath(name).toLocal8Bit();
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    QVERIFY(fd >= 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    QVERIFY(static_cast<std::size_t>(path.size()) < sizeof(address.sun_path));
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    QCOMPARE(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ::close(fd);

    SingleInstance revived(name);
    QVERIFY(revived.claim());
    QSignalSpy reopened(&revived, &SingleInstance::reopenRequested);
    SingleInstance next(name);
    QVERIFY(!next.claim());
    QTRY_COMPARE(reopened.count(), 1);
  }

  void garbageOnTheSocketIsIgnored() {
    const QString name = uniqueName();
    SingleInstance first(name);
    QVERIFY(first.claim());
    QSignalSpy reopened(&first, &SingleInstance::reopenRequested);
    QLocalSocket stranger;
    stranger.connectToServer(name);
    QVERIFY(stranger.waitForConnected(2000));
    stranger.write("hello\nreopen");  // one wrong line, one unfinished
    QVERIFY(stranger.waitForBytesWritten(2000));
    QTest::qWait(100);
    QCOMPARE(reopened.count(), 0);
  }
};

}  // namespace vorrik

QTEST_GUILESS_MAIN(vorrik::SingleInstanceTest)
#include "SingleInstanceTest.moc"
