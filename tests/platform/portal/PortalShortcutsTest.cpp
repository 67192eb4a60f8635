// SPDX-License-Identifier: MIT
// The global-shortcuts client against a fake portal on the private session bus the test runs on
// (dbus-run-session): what it asks the desktop for, and which activations reach key monitors.
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QRegularExpression>
#include <QTest>

#include <future>

#include "platform/portal/PortalBus.h"
#include "platform/portal/PortalShortcuts.h"

namespace vorrik::portal {

using Shortcuts = QList<std::pair<QString, QVariantMap>>;

// The portal's side: each request answered through Request.Response (before its reply, which
// the client does not wait for), and signals sent as a desktop sends them, in the order asked.
class FakePortal : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.GlobalShortcuts")
  Q_PROPERTY(uint version READ version)

 public:
  [[nodiscard]] uint version() const { return 1; }
  void send(const QString& path, const char* interface, const char* name,
            const QVariantList& args) {
    QDBusMessage signal = QDBusMessage::createTargetedSignal(client, path, interface, name);
    signal.setArguments(args);
    bus.send(signal);
  }

  QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "fake");
  uint bindAnswer = 0;
  QString client, session, boundSession, parent;
  Shortcuts asked;

 public Q_SLOTS:  // NOLINT(readability-redundant-access-specifiers): moc's slot section
  QDBusObjectPath CreateSession(const QVariantMap& options, const QDBusMessage& call) {
    client = call.service();
    session = path("session", options.value("session_handle_token").toString());
    return respond(options, 0, {{"session_handle", session}});
  }
  QDBusObjectPath BindShortcuts(const QDBusObjectPath& handle, const Shortcuts& shortcuts,
                                const QString& window, const QVariantMap& options) {
    boundSession = handle.path();
    asked = shortcuts;
    parent = window;
    return respond(options, bindAnswer, {{"shortcuts", QVariant::fromValue(shortcuts)}});
  }

 private:
  QString path(const char* kind, const QString& token) const {
    return QStringLiteral("%1/%2/%3/%4")
        .arg(kPortalObject, kind, client.mid(1).replace('.', '_'), token);
  }
  QDBusObjectPath respond(const QVariantMap& options, uint response, const QVariantMap& results) {
    const QString request = path("request", options.value("handle_token").toString());
    send(request, kRequestInterface, "Response", {response, results});
    return QDBusObjectPath(request);
  }
};

class PortalShortcutsTest : public QObject {
  Q_OBJECT

 public Q_SLOTS:
  void passed() { ++passed_; }

 private Q_SLOTS:
  void initTestCase() {
    qDBusRegisterMetaType<Shortcuts::value_type>();
    qDBusRegisterMetaType<Shortcuts>();
    qRegisterMetaType<Shortcuts>("Shortcuts");  // as the fake's slot names it
    QVERIFY(
        portal_.bus.registerObject(kPortalObject, &portal_, QDBusConnection::ExportAllContents));
    QVERIFY(portal_.bus.registerService(kPortalService));
    QVERIFY(QDBusConnection::sessionBus().connect({}, "/barrier", "test.Barrier", "Passed", this,
                                                  SLOT(passed())));
  }

  void theVersionIsReadFromTheBus() {
    // A blocking probe, so on another thread: the fake answers on this one.
    auto probe = std::async(std::launch::async, [] { return portalVersion(kGlobalShortcuts); });
    QTRY_VERIFY(probe.wait_for(std::chrono::seconds(0)) == std::future_status::ready);
    QCOMPARE(probe.get(), std::optional(1U));
  }

  void activationsReachKeyMonitors_data() {
    QTest::addColumn<QString>("before");  // what happens to the binding before the activation
    QTest::addColumn<bool>("otherSession");
    QTest::addColumn<QString>("id");
    QTest::addColumn<int>("keys");
    QTest::newRow("ours") << "none" << false << "toggle" << 1;
    QTest::newRow("another session") << "none" << true << "toggle" << 0;
    QTest::newRow("another id") << "none" << false << "other" << 0;
    QTest::newRow("refused") << "refused" << false << "toggle" << 0;
    QTest::newRow("cancelled") << "cancelled" << false << "toggle" << 0;
    QTest::newRow("session closed") << "closed" << false << "toggle" << 0;
    QTest::newRow("monitor removed") << "removed" << false << "toggle" << 0;
  }
  void activationsReachKeyMonitors() {
    QFETCH(QString, before);
    QFETCH(bool, otherSession);
    QFETCH(QString, id);
    QFETCH(int, keys);
    if (before == "refused" || before == "cancelled" || before == "closed") {
      QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^no global F6 shortcut: "));
    }
    portal_.asked.clear();
    portal_.bindAnswer = before == "refused" ? 1 : before == "cancelled" ? 2 : 0;
    QList<Key> seen;
    PortalShortcuts shortcuts;
    const auto handle = shortcuts.addKeyMonitor([&seen](Key key) { seen.append(key); });
    QVERIFY(handle);
    // One shortcut for the session just made, preferring F6, described, with no parent window.
    QTRY_COMPARE(portal_.asked.size(), 1);
    QCOMPARE(portal_.asked[0].first, "toggle");
    QCOMPARE(portal_.asked[0].second.value("preferred_trigger"), "F6");
    QVERIFY(!portal_.asked[0].second.value("description").toString().isEmpty());
    QCOMPARE(portal_.boundSession, portal_.session);
    QCOMPARE(portal_.parent, QString());
    if (before == "closed") {
      portal_.send(portal_.session, kSessionInterface, "Closed", {QVariantMap{}});
    } else if (before == "removed") {
      shortcuts.remove(*handle);
    }
    const QDBusObjectPath session(portal_.session + (otherSession ? "_other" : ""));
    portal_.send(kPortalObject, kGlobalShortcuts, "Activated",
                 {QVariant::fromValue(session), id, 1ULL, QVariantMap{}});
    // Signals from one sender reach this connection in order, so the barrier comes last.
    const int passed = passed_;
    portal_.send("/barrier", "test.Barrier", "Passed", {});
    QTRY_COMPARE(passed_, passed + 1);
    QCOMPARE(seen, QList<Key>(keys, Key::f6));
  }

 private:  // NOLINT(readability-redundant-access-specifiers): after moc's slot section
  FakePortal portal_;
  int passed_ = 0;
};

}  // namespace vorrik::portal

QTEST_GUILESS_MAIN(vorrik::portal::PortalShortcutsTest)
#include "PortalShortcutsTest.moc"
