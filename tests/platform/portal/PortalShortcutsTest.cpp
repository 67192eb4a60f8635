// SPDX-License-Identifier: MIT
// The global-shortcuts client against a fake portal on the private session bus the test runs on
// (dbus-run-session): how it registers, what it asks the desktop for, and which activations
// reach key monitors.
#include <QDBusAbstractAdaptor>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QRegularExpression>
#include <QTest>

#include <future>

#include "platform/portal/PortalBus.h"
#include "platform/portal/PortalShortcuts.h"

namespace vorrik::portal {

using Shortcuts = QList<std::pair<QString, QVariantMap>>;

class FakePortal;

// The host application registry beside the portal's global shortcuts, as xdg-desktop-portal
// 1.19.4 and later offer it.
class FakeRegistry : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.host.portal.Registry")
  Q_PROPERTY(uint version READ version)

 public:
  explicit FakeRegistry(FakePortal* portal);
  [[nodiscard]] uint version() const { return 1; }

 public Q_SLOTS:  // NOLINT(readability-redundant-access-specifiers): moc's slot section
  void Register(const QString& appId, const QVariantMap& options, const QDBusMessage& call);

 private:
  FakePortal* portal_;
};

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
  // Serves the portal with or without its registry.
  bool serve(bool registry) {
    bus.unregisterObject(kPortalObject);
    return bus.registerObject(
        kPortalObject, this,
        QDBusConnection::ExportAllContents |
            (registry ? QDBusConnection::ExportAdaptors : QDBusConnection::RegisterOption{}));
  }

  QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "fake");
  FakeRegistry registry{this};
  // Each call by method name and caller, in the order they came.
  QStringList calls;
  QString registerError;  // empty: Register succeeds
  uint bindAnswer = 0;
  bool bindKeeps = true;  // whether the bind's results list the shortcuts asked for
  Shortcuts listed;       // what ListShortcuts answers
  QString client, session, boundSession, parent;
  Shortcuts asked;

 public Q_SLOTS:  // NOLINT(readability-redundant-access-specifiers): moc's slot section
  QDBusObjectPath CreateSession(const QVariantMap& options, const QDBusMessage& call) {
    calls << "CreateSession " + call.service();
    client = call.service();
    session = path("session", options.value("session_handle_token").toString());
    return respond(options, 0, {{"session_handle", session}});
  }
  QDBusObjectPath ListShortcuts(const QDBusObjectPath& /*handle*/, const QVariantMap& options) {
    calls << "ListShortcuts";
    return respond(options, 0, {{"shortcuts", QVariant::fromValue(listed)}});
  }
  QDBusObjectPath BindShortcuts(const QDBusObjectPath& handle, const Shortcuts& shortcuts,
                                const QString& window, const QVariantMap& options) {
    calls << "BindShortcuts";
    boundSession = handle.path();
    asked = shortcuts;
    parent = window;
    return respond(options, bindAnswer,
                   {{"shortcuts", QVariant::fromValue(bindKeeps ? shortcuts : Shortcuts{})}});
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

FakeRegistry::FakeRegistry(FakePortal* portal) : QDBusAbstractAdaptor(portal), portal_(portal) {}

void FakeRegistry::Register(const QString& appId, const QVariantMap& /*options*/,
                            const QDBusMessage& call) {
  portal_->calls << "Register " + appId + " " + call.service();
  if (!portal_->registerError.isEmpty()) {
    call.setDelayedReply(true);
    portal_->bus.send(call.createErrorReply(QDBusError::Failed, portal_->registerError));
  }
}

class PortalShortcutsTest : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void initTestCase() {
    qDBusRegisterMetaType<Shortcuts::value_type>();
    qDBusRegisterMetaType<Shortcuts>();
    qRegisterMetaType<Shortcuts>("Shortcuts");  // as the fake's slot names it
    QVERIFY(portal_.serve(true));
    QVERIFY(portal_.bus.registerService(kPortalService));
  }
  void init() {
    QVERIFY(portal_.serve(true));
    portal_.calls.clear();
    portal_.asked.clear();
    portal_.listed.clear();
    portal_.registerError.clear();
    portal_.bindAnswer = 0;
    portal_.bindKeeps = true;
  }

  void theVersionIsReadFromTheBus() {
    // A blocking probe, so on another thread: the fake answers on this one.
    auto probe = std::async(std::launch::async, [] { return portalVersion(kGlobalShortcuts); });
    QTRY_VERIFY(probe.wait_for(std::chrono::seconds(0)) == std::future_status::ready);
    QCOMPARE(probe.get(), std::optional(1U));
  }

  void theAppRegistersFirstAndAfterEachPortalRestart_data() {
    QTest::addColumn<QString>("registry");  // ok, missing, failing
    QTest::newRow("registered") << "ok";
    QTest::newRow("no registry") << "missing";
    QTest::newRow("registry fails") << "failing";
  }
  void theAppRegistersFirstAndAfterEachPortalRestart() {
    QFETCH(QString, registry);
    QVERIFY(portal_.serve(registry != "missing"));
    if (registry == "failing") {
      portal_.registerError = "App info not found";
    }
    // One line, that says what to do, for a registration that did not work; F6 is still asked.
    if (registry != "ok") {
      QTest::ignoreMessage(QtWarningMsg,
                           QRegularExpression("^F6 may not work: .*(registry|App info not "
                                              "found).*vorrik --toggle"));
    }
    PortalShortcuts shortcuts;
    QVERIFY(shortcuts.addKeyMonitor([](Key) {}));
    QTRY_COMPARE(portal_.asked.size(), 1);
    const QString caller = portal_.client;
    const QStringList expected{"Register org.vorrik.Vorrik " + caller, "CreateSession " + caller,
                               "BindShortcuts"};
    QCOMPARE(portal_.calls, registry == "missing" ? expected.mid(1) : expected);

    // A restarted portal knows no ID: the name gets a new owner, and the app registers again.
    if (registry == "ok") {
      QVERIFY(portal_.bus.unregisterService(kPortalService));
      QVERIFY(portal_.bus.registerService(kPortalService));
      QTRY_COMPARE(portal_.calls.size(), 4);
      QCOMPARE(portal_.calls.last(), expected.first());
    }
  }

  void activationsReachKeyMonitors_data() {
    QTest::addColumn<QString>("before");  // what happens to the binding before the activation
    QTest::addColumn<bool>("otherSession");
    QTest::addColumn<QString>("id");
    QTest::addColumn<int>("keys");
    QTest::newRow("ours") << "none" << false << "toggle" << 1;
    // GNOME 48 ends its dialog with 2 after the user added the shortcut, and lists it.
    QTest::newRow("answered 2 with toggle listed") << "listed2" << false << "toggle" << 1;
    QTest::newRow("another session") << "none" << true << "toggle" << 0;
    QTest::newRow("another id") << "none" << false << "other" << 0;
    QTest::newRow("monitor removed") << "removed" << false << "toggle" << 0;
    QTest::newRow("refused") << "refused" << false << "toggle" << 0;
    QTest::newRow("cancelled") << "cancelled" << false << "toggle" << 0;
    QTest::newRow("bound without the key") << "unlisted" << false << "toggle" << 0;
    QTest::newRow("session closed") << "closed" << false << "toggle" << 0;
  }
  void activationsReachKeyMonitors() {
    QFETCH(QString, before);
    QFETCH(bool, otherSession);
    QFETCH(QString, id);
    QFETCH(int, keys);
    const bool lost = QStringList{"refused", "cancelled", "unlisted", "closed"}.contains(before);
    if (lost) {
      QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^no global F6 shortcut: "));
    }
    portal_.bindAnswer = before == "refused" ? 1 : before == "cancelled" || before == "listed2";
    portal_.bindKeeps = !QStringList{"refused", "cancelled", "unlisted"}.contains(before);
    QList<Key> seen;
    int unavailable = 0;
    PortalShortcuts shortcuts;
    shortcuts.onUnavailable = [&unavailable] { ++unavailable; };
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
    barrier();
    QCOMPARE(seen, QList<Key>(keys, Key::f6));
    // Whoever offers the next way to F6 hears once of a shortcut that will not come.
    QCOMPARE(unavailable, lost ? 1 : 0);
  }

  void aListedShortcutIsKeptWithoutABindWhereTheDesktopKeepsIt_data() {
    QTest::addColumn<bool>("keep");  // Listed::keep, as on Plasma's version 1 interface
    QTest::addColumn<bool>("listed");
    QTest::addColumn<QStringList>("calls");
    const QStringList all{"ListShortcuts", "BindShortcuts"};
    QTest::newRow("kept, listed") << true << true << QStringList{"ListShortcuts"};
    QTest::newRow("kept, not listed yet") << true << false << all;
    QTest::newRow("rebound") << false << true << QStringList{"BindShortcuts"};
  }
  void aListedShortcutIsKeptWithoutABindWhereTheDesktopKeepsIt() {
    QFETCH(bool, keep);
    QFETCH(bool, listed);
    QFETCH(QStringList, calls);
    if (listed) {
      portal_.listed = {{"toggle", {{"trigger_description", "F6"}}}};
    }
    QList<Key> seen;
    PortalShortcuts shortcuts(keep ? PortalShortcuts::Listed::keep
                                   : PortalShortcuts::Listed::rebind);
    QVERIFY(shortcuts.addKeyMonitor([&seen](Key key) { seen.append(key); }));
    QTRY_COMPARE(portal_.calls.size(), calls.size() + 2);
    barrier();
    QCOMPARE(portal_.calls.mid(2), calls);
    // Active either way.
    portal_.send(
        kPortalObject, kGlobalShortcuts, "Activated",
        {QVariant::fromValue(QDBusObjectPath(portal_.session)), "toggle", 1ULL, QVariantMap{}});
    barrier();
    QCOMPARE(seen, QList<Key>{Key::f6});
  }

 private:  // NOLINT(readability-redundant-access-specifiers): after moc's slot section
  // Returns once the client has handled every signal the fake sent it so far: the client's
  // connection answers a ping only after passing those on, and its main thread takes them in
  // that order.
  void barrier() {
    QDBusMessage ping =
        QDBusMessage::createMethodCall(portal_.client, "/", "org.freedesktop.DBus.Peer", "Ping");
    QDBusPendingCallWatcher watcher(portal_.bus.asyncCall(ping));
    QTRY_VERIFY(watcher.isFinished());
    QCoreApplication::processEvents();
  }

  FakePortal portal_;
};

}  // namespace vorrik::portal

QTEST_GUILESS_MAIN(vorrik::portal::PortalShortcutsTest)
#include "PortalShortcutsTest.moc"
