// SPDX-License-Identifier: MIT
// The XInput2 monitor on a real X server. xdotool presses keys and buttons through XTEST, as a
// user's hand would. Absence is checked without sleeping: every case ends with a sentinel key
// press, and events on one connection arrive in order, so once the sentinel is in, everything
// before it is too.

#include <QProcess>
#include <QtTest>

#include <memory>
#include <optional>
#include <utility>

#include "platform/x11/X11InputMonitor.h"

// Last: Xlib's macros clash with names in the headers above.
#include "e2e/Receiver.h"

using vorrik::InputMonitor;
using vorrik::Key;
using vorrik::x11::X11InputMonitor;

namespace {

// What one monitor pair saw: 'F' for F6, 'o' for any other key; and the left presses.
struct Seen {
  QString keys;
  int lefts = 0;
};

void xdotool(const QStringList& args) {
  QProcess process;
  process.start(QStringLiteral("xdotool"), args);
  QVERIFY2(process.waitForFinished(10000), "xdotool did not finish");
  QCOMPARE(process.exitCode(), 0);
}

// Presses and releases Escape, then waits until `seen` has its key press.
bool sentinel(const Seen& seen) {
  const auto before = seen.keys.size();
  xdotool({QStringLiteral("key"), QStringLiteral("Escape")});
  return QTest::qWaitFor([&] { return seen.keys.size() > before; }, 10000);
}

class X11InputMonitorTest : public QObject {
  Q_OBJECT

  std::unique_ptr<X11InputMonitor> monitor_;

  // Installs a key and a left-press monitor that record into seen; their handles.
  std::pair<InputMonitor::Handle, InputMonitor::Handle> watch(Seen& seen) {
    const auto keys = monitor_->addKeyMonitor(
        [&seen](Key key) { seen.keys += key == Key::f6 ? QLatin1Char('F') : QLatin1Char('o'); });
    const auto lefts = monitor_->addLeftPressMonitor([&seen] { ++seen.lefts; });
    [&] {
      QVERIFY(keys);
      QVERIFY(lefts);
    }();
    return {keys.value_or(0), lefts.value_or(0)};
  }

 private slots:
  void init() {
    monitor_ = std::make_unique<X11InputMonitor>();
    QVERIFY(monitor_->available());
  }
  void cleanup() { monitor_.reset(); }

  void pressesReachTheRightMonitors_data() {
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<int>("lefts");
    QTest::newRow("F6") << QStringList{"key", "F6"} << "F" << 0;
    QTest::newRow("Ctrl-Alt-F6") << QStringList{"key", "ctrl+alt+F6"} << "ooF" << 0;
    QTest::newRow("F6 twice") << QStringList{"key", "F6", "F6"} << "FF" << 0;
    QTest::newRow("F7") << QStringList{"key", "F7"} << "o" << 0;
    QTest::newRow("three left clicks")
        << QStringList{"click", "--repeat", "3", "--delay", "20", "1"} << "" << 3;
    QTest::newRow("left held") << QStringList{"mousedown", "1", "mouseup", "1"} << "" << 1;
    QTest::newRow("right click") << QStringList{"click", "3"} << "" << 0;
    QTest::newRow("wheel") << QStringList{"click", "4"} << "" << 0;
  }
  void pressesReachTheRightMonitors() {
    QFETCH(QStringList, args);
    QFETCH(QString, keys);
    QFETCH(int, lefts);
    Seen seen;
    watch(seen);
    xdotool(args);
    QVERIFY(sentinel(seen));
    QCOMPARE(seen.keys, keys + QLatin1Char('o'));
    QCOMPARE(seen.lefts, lefts);
  }

  void handlersMayRemoveAndAdd() {
    // The first handler removes itself and the second, and installs a third, at the first
    // press; both presses arrive in one read, so removal must act within the batch.
    int first = 0;
    int second = 0;
    int third = 0;
    std::optional<InputMonitor::Handle> one;
    std::optional<InputMonitor::Handle> two;
    one = monitor_->addKeyMonitor([&](Key) {
      ++first;
      monitor_->remove(*one);
      monitor_->remove(*two);
      QVERIFY(monitor_->addKeyMonitor([&](Key) { ++third; }));
    });
    two = monitor_->addKeyMonitor([&](Key) { ++second; });
    QVERIFY(one && two);
    Seen seen;
    watch(seen);
    xdotool({"key", "F6", "F6"});
    QVERIFY(QTest::qWaitFor([&] { return seen.keys.size() == 2; }, 10000));
    QVERIFY(sentinel(seen));
    QCOMPARE(first, 1);
    QCOMPARE(second, 0);
    // Only the sentinel: the second F6 had happened before the third monitor was installed.
    QCOMPARE(third, 1);
  }

  void monitorSeesOnlyLaterPresses() {
    Seen early;
    watch(early);
    // The press is on the socket, unread (no event loop runs here), when the monitor comes.
    xdotool({"key", "F6"});
    Seen late;
    watch(late);
    QVERIFY(sentinel(late));
    QCOMPARE(late.keys, QStringLiteral("o"));
    QCOMPARE(early.keys, QStringLiteral("Fo"));
  }

  void leftHandedMappingIsHonoured() {
    vorrik::e2e::Receiver hand(0, 0, 1, 1);
    QVERIFY(hand.mapButtons({3, 2, 1}));
    Seen seen;
    watch(seen);
    xdotool({"click", "3"});
    const bool afterRight = sentinel(seen);
    const int leftsAfterRight = seen.lefts;
    xdotool({"click", "1"});
    const bool afterLeft = sentinel(seen);
    QVERIFY(hand.mapButtons({1, 2, 3}));
    QVERIFY(afterRight && afterLeft);
    QCOMPARE(leftsAfterRight, 1);  // the physical right button acts as left
    QCOMPARE(seen.lefts, 1);
  }

  void nothingWithoutADisplay() {
    // No colon: Xlib rejects the name at once, without looking anything up.
    X11InputMonitor absent(QStringLiteral("no-such-display").toStdString());
    QVERIFY(!absent.available());
    QVERIFY(!absent.addKeyMonitor([](Key) {}));
    QVERIFY(!absent.addLeftPressMonitor([] {}));
    absent.remove(1);
  }
};

}  // namespace

QTEST_GUILESS_MAIN(X11InputMonitorTest)
#include "X11InputMonitorTest.moc"
