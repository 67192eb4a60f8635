// SPDX-License-Identifier: MIT
// The wlroots backend's Qt side on a private headless sway: the overlay's monitor, and F6 bound
// through sway's IPC for as long as the binding lives.
#include <QApplication>
#include <QFile>
#include <QTest>
#include <QWindow>

#include <optional>

#include "e2e/WaylandPeer.h"
#include "platform/wlroots/PickOverlay.h"
#include "platform/wlroots/SwayBinding.h"
#include "platform/wlroots/WlrootsInput.h"

namespace vorrik {

class WlrootsDesktopTest : public QObject {
  Q_OBJECT

 public:
  explicit WlrootsDesktopTest(wlroots::WlrootsInjector& injector) : injector_(injector) {}

 private slots:
  void initTestCase() { QVERIFY(injector_.connected()); }

  void removingTheMonitorEndsThePickSilently() {
    bool handled = false;
    const auto handle = picker_.addLeftPressMonitor([&] { handled = true; });
    QVERIFY(coversShown());
    picker_.remove(*handle);
    QTRY_VERIFY(!coversShown(0));
    QVERIFY(!handled);
    QCOMPARE(picker_.addKeyMonitor([](Key) {}), std::nullopt);
  }

  void aBindingRunsItsCommandUntilItGoes() {
    const QString fired = qEnvironmentVariable("VORRIK_SWAY_TMP") + "/fired";
    {
      wlroots::SwayBinding binding("F6", "touch " + fired.toStdString(),
                                   qEnvironmentVariable("SWAYSOCK").toStdString());
      QVERIFY2(binding.bound(), binding.why().c_str());
      QVERIFY(e2e::tapKey("F6"));
      QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(fired), 10000);
    }
    QVERIFY(QFile::remove(fired));
    QVERIFY(e2e::tapKey("F6"));
    QTest::qWait(300);
    QVERIFY(!QFile::exists(fired));
  }

  void theUsersOwnBindingOrNoSwayIsLeftAlone() {
    const std::string sock = qEnvironmentVariable("SWAYSOCK").toStdString();
    // with-sway.sh loads tests/e2e/sway-user.conf, which binds F7.
    const struct {
      const char* key;
      std::string socket;
      const char* why;
    } cases[] = {{"F7", sock, "already binds F7"},
                 {"F6", "", "SWAYSOCK is not set"},
                 {"F6", sock + ".gone", "does not answer"}};
    for (const auto& c : cases) {
      wlroots::SwayBinding binding(c.key, "true", c.socket);
      QVERIFY(!binding.bound());
      QVERIFY2(binding.why().find(c.why) != std::string::npos, binding.why().c_str());
    }
  }

 private:
  // Whether count covers are up and shown by the compositor (count 0: none is visible).
  static bool coversShown(int count = -1) {
    const auto exposed = [] {
      int n = 0;
      for (QWindow* window : QGuiApplication::topLevelWindows()) {
        n += window->isVisible() && window->isExposed() ? 1 : 0;
      }
      return n;
    };
    if (count == 0) {
      return exposed() != 0;
    }
    const int want = count < 0 ? int(QGuiApplication::screens().size()) : count;
    return QTest::qWaitFor([&] { return exposed() == want; }, 10000);
  }

  wlroots::WlrootsInjector& injector_;
  wlroots::PickOverlay picker_;
};

}  // namespace vorrik

int main(int argc, char** argv) {
  // Before the toolkit connects: a headless seat has a pointer only once a virtual one exists,
  // and a client that started before that misses the first click while it binds the new one.
  vorrik::wlroots::WlrootsInjector injector;
  QApplication app(argc, argv);
  vorrik::WlrootsDesktopTest test(injector);
  return QTest::qExec(&test, argc, argv);
}
#include "WlrootsDesktopTest.moc"
