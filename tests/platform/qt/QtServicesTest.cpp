// SPDX-License-Identifier: MIT
// The Qt side of the language preference, of the main queue and of the help page's link.
#include <sys/stat.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <optional>
#include <string>
#include <vector>

#include "l10n/L.h"
#include "platform/qt/QtServices.h"
#include "platform/qt/QtSettingsLink.h"

namespace vorrik::qt {

class QtServicesTest : public QObject {
  Q_OBJECT

 private slots:
  void helpPageIsFoundBesideTheProgram_data() {
    QTest::addColumn<QString>("exeDir");
    QTest::addColumn<QString>("page");  // the only page there is; "" for none
    QTest::addColumn<bool>("found");
    const QString page = QString::fromLatin1(QtSettingsLink::kHelpPath);
    QTest::newRow("installed") << "usr/bin"
                               << "usr/" + page << true;
    QTest::newRow("build tree") << "build/src/app"
                                << "build/" + page << true;
    QTest::newRow("test in build tree") << "build/tests/platform/qt"
                                        << "build/" + page << true;
    QTest::newRow("too far up") << "a/b/c/d" << page << false;
    QTest::newRow("none") << "usr/bin"
                          << "" << false;
  }
  void helpPageIsFoundBesideTheProgram() {
    QFETCH(QString, exeDir);
    QFETCH(QString, page);
    QFETCH(bool, found);
    QTemporaryDir root;
    QVERIFY(QDir(root.path()).mkpath(exeDir));
    if (!page.isEmpty()) {
      QVERIFY(QDir(root.path()).mkpath(QFileInfo(root.filePath(page)).path()));
      QFile file(root.filePath(page));
      QVERIFY(file.open(QIODevice::WriteOnly));
    }
    const QUrl url = QtSettingsLink::findHelpPage(root.filePath(exeDir));
    QCOMPARE(url.isEmpty(), !found);
    if (found) {
      QCOMPARE(QFileInfo(url.toLocalFile()).canonicalFilePath(),
               QFileInfo(root.filePath(page)).canonicalFilePath());
    }
  }

  void thisBuildTreeHoldsTheHelpPage() {
    QVERIFY(!QtSettingsLink::findHelpPage(QCoreApplication::applicationDirPath()).isEmpty());
  }

  void choiceSurvivesARestart() {
    QTemporaryDir dir;
    const QString path = dir.filePath("vorrik.conf");
    QtPreferredLanguages preferred;
    QtNotificationCenter center;
    {
      QtDefaultsStore defaults(path);
      QCOMPARE(defaults.stringForKey(L::kLangKey), std::nullopt);
      L::install({&defaults, &preferred, &center});
      L::setLang("pt");
    }
    QtDefaultsStore reopened(path);
    L::install({&reopened, &preferred, &center});
    QCOMPARE(L::lang(), std::string("pt"));
    L::install({});
  }

  void aSettingsPathThatIsNoFileIsLeftAlone() {
    QTemporaryDir dir;
    const QString pipe = dir.filePath("pipe.conf");
    QVERIFY(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
    for (const QString& path : {pipe, dir.path()}) {
      // A pipe would block the constructor for ever; the test's time limit catches that.
      QtDefaultsStore defaults(path);
      QCOMPARE(defaults.stringForKey(L::kLangKey), std::nullopt);
      defaults.setString(L::kLangKey, "fr");
      QCOMPARE(defaults.stringForKey(L::kLangKey), std::optional<std::string>("fr"));
    }
    QVERIFY(QFileInfo(pipe).exists() && !QFileInfo(pipe).isFile());
    QCOMPARE(QFileInfo(pipe).size(), 0);
  }

  void tasksFromAWorkerRunOnTheMainThreadInOrder() {
    QtMainQueue queue;
    QtNotificationCenter center;
    std::vector<std::string> seen;
    center.addObserver("ping", [&] {
      QCOMPARE(QThread::currentThread(), QCoreApplication::instance()->thread());
      seen.push_back("ping");
    });
    QThread* worker = QThread::create([&] {
      for (int i = 0; i < 3; ++i) {
        queue.post([&seen, i] {
          QCOMPARE(QThread::currentThread(), QCoreApplication::instance()->thread());
          seen.push_back(std::to_string(i));
        });
      }
      center.post("ping");
    });
    worker->start();
    QVERIFY(worker->wait(5000));
    delete worker;
    QVERIFY(QTest::qWaitFor([&] { return seen.size() == 4; }, 5000));
    QCOMPARE(seen, (std::vector<std::string>{"0", "1", "2", "ping"}));
  }

  void postOnTheMainThreadDeliversAtOnceInOrder() {
    QtNotificationCenter center;
    std::vector<int> order;
    center.addObserver(L::changed(), [&] { order.push_back(1); });
    center.addObserver("other", [&] { order.push_back(99); });
    center.addObserver(L::changed(), [&] { order.push_back(2); });
    center.post(L::changed());
    QCOMPARE(order, (std::vector<int>{1, 2}));
  }
};

}  // namespace vorrik::qt

QTEST_GUILESS_MAIN(vorrik::qt::QtServicesTest)
#include "QtServicesTest.moc"
