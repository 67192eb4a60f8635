// SPDX-License-Identifier: MIT
// The delegate's start-up, menus and commands over the real panel, on the offscreen platform.
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QSystemTrayIcon>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/AppDelegate.h"
#include "l10n/L.h"
#include "panel/PanelProbe.h"
#include "panel/VorrikPanel.h"
#include "platform/fake/FakeDesktop.h"

namespace vorrik {
namespace {

// A menu's item titles ("" for a separator) and their shortcuts.
QStringList titles(const QMenu* menu) {
  QStringList result;
  for (const QAction* action : menu->actions()) {
    result << action->text();
  }
  return result;
}
QList<QKeySequence> shortcuts(const QMenu* menu) {
  QList<QKeySequence> result;
  for (const QAction* action : menu->actions()) {
    result << action->shortcut();
  }
  return result;
}
// The catalogue texts of keys in the current language; "" stays "".
QStringList texts(std::initializer_list<const char*> keys) {
  QStringList result;
  for (const char* key : keys) {
    result << (*key ? QString::fromStdString(L::t(key)) : QString());
  }
  return result;
}
QMenu* sub(const QMenu* menu, int index) {
  return menu->actions().at(index)->menu();
}
QAction* item(const QMenu* menu, const QString& title) {
  for (QAction* action : menu->actions()) {
    if (action->text() == title) {
      return action;
    }
  }
  return nullptr;
}

// A desktop shortcut that only remembers whether it is there.
struct FakeShortcut final : ToggleShortcut {
  bool there = false;
  int changes = 0;
  bool installed() override { return there; }
  bool install() override {
    ++changes;
    return there = true;
  }
  bool remove() override {
    ++changes;
    there = false;
    return true;
  }
};

// Fakes under the real panel, and an alert runner that records each alert and answers it.
struct World {
  fake::FakeDesktop desktop;
  fake::FakeDefaultsStore& defaults = desktop.fakeDefaults;
  fake::FakePreferredLanguages& preferred = desktop.fakeLanguages;
  fake::FakeNotificationCenter& center = desktop.fakeCenter;
  fake::FakeTrust& trust = desktop.fakeTrust;
  fake::FakeSettingsLink& link = desktop.fakeLink;
  fake::FakeInjector& injector = desktop.fakeInjector;
  std::vector<Alert> alerts;
  int alertsOpen = 0;
  int mostAlertsOpen = 0;     // alerts open at once, at the most
  bool readyAtAlert = false;  // the panel and the tray item existed when the alert came up
  bool tray = true;           // what the delegate is told about the tray
  // What the desktop says of F6 after a kHotkeyChanged post.
  ToggleShortcut* laterShortcut = nullptr;
  bool hotkeyMissing = false;
  std::unique_ptr<AppDelegate> delegate;

  explicit World(const std::string& lang, bool trusted = true, int answer = kAlertSecondButton,
                 Refusal refusal = Refusal::noInjection, ToggleShortcut* shortcut = nullptr,
                 const char* offered = nullptr,
                 const std::function<void(fake::FakeTrust&)>& prepare = {},
                 std::function<void(World&)> duringFirstAlert = {}) {
    defaults.setString(L::kLangKey, lang);
    if (offered != nullptr) {
      defaults.setString(kShortcutOfferKey, offered);
    }
    L::install({&defaults, &preferred, &center});
    trust.setTrusted(trusted);
    trust.setRefusal(refusal);
    if (prepare) {
      prepare(trust);
    }
    const auto panel = [this] {
      return std::make_unique<VorrikPanel>(VorrikPanel::Services::from(
          desktop, desktop.sleeper, desktop.random, desktop.makeTimer()));
    };
    delegate = std::make_unique<AppDelegate>(AppDelegate::Services{
        center, trust, link, panel,
        [this, answer, during = std::move(duringFirstAlert)](const Alert& alert) mutable {
          alerts.push_back(alert);
          readyAtAlert = delegate->panel() && delegate->statusItem();
          mostAlertsOpen = std::max(mostAlertsOpen, ++alertsOpen);
          if (const auto now = std::exchange(during, {})) {
            now(*this);
          }
          --alertsOpen;
          return answer;
        },
        [this] { return tray; }, shortcut, &defaults, [this] { return laterShortcut; },
        [this] { return hotkeyMissing; }});
    delegate->applicationDidFinishLaunching();
  }
  ~World() {
    delegate.reset();
    L::install({});
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  VorrikPanel* panel() const { return static_cast<VorrikPanel*>(delegate->panel()); }
  QMenu* appMenu() const { return delegate->mainMenu()->actions().at(0)->menu(); }
  QMenu* editMenu() const { return delegate->mainMenu()->actions().at(1)->menu(); }
  QMenu* status() const { return delegate->statusMenu(); }
};

}  // namespace

class AppDelegateTest : public QObject {
  Q_OBJECT

 private slots:

  // Items follow the catalogue's keys; what is checked is what the code decides: where the
  // menus go, their language, their shortcuts.
  void bothMenusInTheCurrentLanguage() {
    World world("fr");
    const QString lang = "fr";
    QCOMPARE(world.panel()->layout()->menuBar(), world.delegate->mainMenu());
    QCOMPARE(titles(world.appMenu()).back(), "Quitter Vorrik");
    QCOMPARE(shortcuts(world.appMenu()),
             (QList<QKeySequence>{{}, {}, {}, {}, Qt::CTRL | Qt::Key_H, QKeySequence::Quit}));
    QCOMPARE(shortcuts(world.editMenu()),
             (QList<QKeySequence>{QKeySequence::Cut, QKeySequence::Copy, QKeySequence::Paste,
                                  QKeySequence::SelectAll}));
    QCOMPARE(world.delegate->statusItem()->contextMenu(), world.status());
    QCOMPARE(titles(world.status()).back(), "Quitter Vorrik");
    // Each Language submenu: every language in its own words, one check, on the current one.
    for (const QMenu* languages : {sub(world.appMenu(), 2), sub(world.status(), 4)}) {
      QCOMPARE(languages->title(), texts({"m_language"}).front());
      QCOMPARE(titles(languages),
               (QStringList{"English", "Kreyòl Ayisyen", "Français", "Español", "Português"}));
      QStringList checked;
      for (const QAction* action : languages->actions()) {
        if (action->isChecked()) {
          checked << action->data().toString();
        }
      }
      QCOMPARE(checked, QStringList{lang});
    }
  }

  void pickingALanguageRebuildsBothMenus_data() {
    QTest::addColumn<bool>("fromTray");
    QTest::newRow("tray menu") << true;
    QTest::newRow("menu bar") << false;
  }
  void pickingALanguageRebuildsBothMenus() {
    QFETCH(bool, fromTray);
    World world("en");
    const QPointer<QMenuBar> oldBar = world.delegate->mainMenu();
    const QPointer<QMenu> oldStatus = world.status();
    QSystemTrayIcon* tray = world.delegate->statusItem();
    item(fromTray ? sub(oldStatus, 4) : sub(world.appMenu(), 2), "Français")->trigger();

    QCOMPARE(world.defaults.stringForKey(L::kLangKey), std::optional<std::string>("fr"));
    QCOMPARE(world.panel()->layout()->menuBar(), world.delegate->mainMenu());
    QCOMPARE(titles(world.status()).back(), QString("Quitter Vorrik"));
    QCOMPARE(titles(world.appMenu()).back(), QString("Quitter Vorrik"));
    QVERIFY(item(sub(world.status(), 4), "Français")->isChecked());
    QVERIFY(!item(sub(world.status(), 4), "English")->isChecked());
    QCOMPARE(world.delegate->statusItem(), tray);
    QTRY_VERIFY(!oldBar && !oldStatus);  // new menus; the old ones go once the loop is done

    // Picking the checked language again announces it again and builds the menus again.
    const QPointer<QMenu> french = world.status();
    item(sub(french, 4), "Français")->trigger();
    QCOMPARE(world.center.posts().size(), 2u);
    QVERIFY(world.status() != french);
  }

  void startUpAsksForThePermissionOnlyWithoutIt_data() {
    QTest::addColumn<QString>("lang");
    QTest::addColumn<bool>("trusted");
    QTest::addColumn<int>("answer");
    QTest::addColumn<int>("opens");
    QTest::addColumn<Refusal>("refusal");
    // Where the desktop asks: its dialog, and whether it remembers the consent already.
    QTest::addColumn<int>("desktop");
    QTest::addColumn<bool>("dialogRemembers");
    QTest::addColumn<bool>("remembered");
    QTest::addColumn<QString>("answerKey");
    const Refusal x11 = Refusal::noInjection;
    const Refusal consent = Refusal::notAllowed;
    const int other = int(ConsentDialog::Desktop::other);
    const int gnome = int(ConsentDialog::Desktop::gnome);
    const int kde = int(ConsentDialog::Desktop::kde);
    QTest::newRow("trusted") << "en" << true << kAlertFirstButton << 0 << x11 << other << false
                             << false << "";
    QTest::newRow("Open Help") << "en" << false << kAlertFirstButton << 1 << x11 << other << false
                               << false << "";
    QTest::newRow("Later") << "en" << false << kAlertSecondButton << 0 << x11 << other << false
                           << false << "";
    QTest::newRow("closed") << "en" << false << 999 << 0 << x11 << other << false << false << "";
    QTest::newRow("unserved Wayland, French")
        << "fr" << false << kAlertSecondButton << 0 << Refusal::unsupportedWayland << other << false
        << false << "";
    QTest::newRow("consent, Portuguese") << "pt" << false << kAlertFirstButton << 1 << consent
                                         << other << false << false << "rd_other";
    QTest::newRow("GNOME that remembers") << "en" << false << kAlertSecondButton << 0 << consent
                                          << gnome << true << false << "rd_gnome";
    QTest::newRow("GNOME that cannot remember, Spanish")
        << "es" << false << kAlertSecondButton << 0 << consent << gnome << false << false
        << "rd_gnome_once";
    QTest::newRow("KDE, Creole") << "ht" << false << kAlertSecondButton << 0 << consent << kde
                                 << true << false << "rd_kde";
    QTest::newRow("KDE that cannot remember") << "fr" << false << kAlertSecondButton << 0 << consent
                                              << kde << false << false << "rd_kde_once";
    // Consent remembered: the desktop will not ask, so neither does the alert.
    QTest::newRow("remembered") << "en" << false << kAlertFirstButton << 0 << consent << gnome
                                << true << true << "";
  }
  void startUpAsksForThePermissionOnlyWithoutIt() {
    QFETCH(QString, lang);
    QFETCH(bool, trusted);
    QFETCH(int, answer);
    QFETCH(int, opens);
    QFETCH(Refusal, refusal);
    QFETCH(int, desktop);
    QFETCH(bool, dialogRemembers);
    QFETCH(bool, remembered);
    QFETCH(QString, answerKey);
    World world(lang.toStdString(), trusted, answer, refusal, nullptr, nullptr,
                [&](fake::FakeTrust& trust) {
                  trust.setConsentDialog({ConsentDialog::Desktop(desktop), dialogRemembers});
                  trust.setRemembers(remembered);
                });
    const L::RefusalKeys keys = L::refusalKeys(refusal);
    const bool alerted = !trusted && !remembered;
    QCOMPARE(world.alerts.size(), alerted ? 1u : 0u);
    QCOMPARE(world.link.opens(), opens);
    QCOMPARE(world.trust.prompts(), opens);  // the system's own request goes with the link
    if (!alerted) {
      return;
    }
    QVERIFY(world.readyAtAlert);
    QCOMPARE(world.alerts[0].message, QString::fromStdString(L::t(keys.title)));
    const std::string how = answerKey.isEmpty() ? "" : L::t(answerKey.toStdString());
    QCOMPARE(world.alerts[0].informative,
             QString::fromStdString(L::t(keys.body, {{"answer", how}})));
    if (!answerKey.isEmpty()) {
      QVERIFY(world.alerts[0].informative.contains(QString::fromStdString(how)));
    }
    QCOMPARE(world.alerts[0].buttons, texts({"open_settings", "later"}));
    QVERIFY(world.panel()->isVisible());
    // Start is refused with the same session's status line.
    world.status()->actions().at(1)->trigger();
    QVERIFY(!test::PanelProbe::engine(*world.panel()).running());
    QCOMPARE(test::PanelProbe::widgets(*world.panel()).status->text(),
             QString::fromStdString(L::t(keys.line)));
    QCOMPARE(world.injector.events().size(), 0u);
    // The tray's command opens the link without asking first.
    const int queries = world.trust.queries();
    world.status()->actions().at(3)->trigger();
    QCOMPARE(world.link.opens(), opens + 1);
    QCOMPARE(world.trust.queries(), queries);
  }

  // Where F6 can reach Vorrik only as the desktop's own shortcut, the user is asked once; both
  // menus then add or remove it.
  void theDesktopShortcutIsOfferedOnceAndBothMenusFlipIt_data() {
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("there");
    QTest::addColumn<QString>("offered");  // the stored answer before the launch, or ""
    QTest::addColumn<int>("alerts");
    QTest::addColumn<QString>("stored");
    QTest::newRow("added") << kAlertFirstButton << false << "" << 1 << "added";
    QTest::newRow("declined") << kAlertSecondButton << false << "" << 1 << "declined";
    QTest::newRow("closed") << 999 << false << "" << 1 << "declined";
    QTest::newRow("asked before") << kAlertFirstButton << false << "declined" << 0 << "declined";
    QTest::newRow("already there") << kAlertFirstButton << true << "" << 0 << "";
  }
  void theDesktopShortcutIsOfferedOnceAndBothMenusFlipIt() {
    QFETCH(int, answer);
    QFETCH(bool, there);
    QFETCH(QString, offered);
    QFETCH(int, alerts);
    QFETCH(QString, stored);
    FakeShortcut shortcut;
    shortcut.there = there;
    const std::string before = offered.toStdString();
    World world("es", true, answer, Refusal::noInjection, &shortcut,
                offered.isEmpty() ? nullptr : before.c_str());
    QCOMPARE(int(world.alerts.size()), alerts);
    if (alerts > 0) {
      QCOMPARE(world.alerts[0].message, texts({"f6_title"}).front());
      QCOMPARE(world.alerts[0].buttons, texts({"f6_add", "f6_skip"}));
    }
    QCOMPARE(QString::fromStdString(world.defaults.stringForKey(kShortcutOfferKey).value_or("")),
             stored);
    const bool added = there || stored == QStringLiteral("added");
    QCOMPARE(shortcut.there, added);
    QCOMPARE(shortcut.changes, added && !there ? 1 : 0);
    // Each menu offers the other way, and the item follows the shortcut.
    for (const bool statusMenu : {false, true}) {
      QMenu* menu = statusMenu ? world.status() : world.appMenu();
      QAction* flip = item(menu, texts({shortcut.there ? "f6_remove" : "f6_add"}).front());
      QVERIFY(flip != nullptr);
      const bool was = shortcut.there;
      flip->trigger();
      QCOMPARE(shortcut.there, !was);
      menu = statusMenu ? world.status() : world.appMenu();
      QVERIFY(item(menu, texts({shortcut.there ? "f6_remove" : "f6_add"}).front()) != nullptr);
    }
    QCOMPARE(int(world.alerts.size()), alerts);
  }

  // The desktop refusing F6 after start-up: its next way is offered, or both menus and the
  // status line say F6 is missing, in every language after.
  void aRefusedHotkeyIsOfferedAnotherWayOrSaidMissing_data() {
    QTest::addColumn<bool>("shortcutLater");
    QTest::newRow("GNOME's own shortcut") << true;
    QTest::newRow("no other way") << false;
  }
  void aRefusedHotkeyIsOfferedAnotherWayOrSaidMissing() {
    QFETCH(bool, shortcutLater);
    FakeShortcut shortcut;
    World world("en", true, kAlertFirstButton);
    QVERIFY(world.alerts.empty());
    world.laterShortcut = shortcutLater ? &shortcut : nullptr;
    world.hotkeyMissing = !shortcutLater;
    world.center.post(kHotkeyChanged);
    const QLabel* status = test::PanelProbe::widgets(*world.panel()).status;
    if (shortcutLater) {
      QTRY_COMPARE(int(world.alerts.size()), 1);
      QCOMPARE(world.alerts[0].message, texts({"f6_title"}).front());
      QVERIFY(shortcut.there);
    }
    for (const char* lang : {"en", "ht", "fr", "es", "pt"}) {
      L::setLang(lang);
      const QString missing = texts({"m_f6_missing"}).front();
      if (shortcutLater) {
        QCOMPARE(status->text(), texts({"ready"}).front());
      } else {
        QTRY_COMPARE(status->text(), texts({"f6_missing"}).front());
        QVERIFY(status->text().contains("vorrik --toggle"));
      }
      QCOMPARE(item(world.appMenu(), missing) != nullptr, !shortcutLater);
      QCOMPARE(item(world.status(), missing) != nullptr, !shortcutLater);
      QCOMPARE(test::PanelProbe::widgets(*world.panel()).startBtn->text(), texts({"start"})[0]);
    }
    if (!shortcutLater) {
      item(world.status(), texts({"m_f6_missing"}).front())->trigger();
      QCOMPARE(int(world.alerts.size()), 1);
      QCOMPARE(world.alerts[0].informative, texts({"f6_missing"}).front());
    }
  }

  // At launch the desktop's answer on F6 can come while the consent alert is open, whose own
  // event loop then runs it: the offer waits for that alert to close, so two never stack.
  void anOfferDuringAnotherAlertWaitsUntilItCloses() {
    FakeShortcut shortcut;
    World world("en", false, kAlertSecondButton, Refusal::noInjection, nullptr, nullptr, {},
                [&shortcut](World& w) {
                  w.laterShortcut = &shortcut;
                  w.center.post(kHotkeyChanged);
                  QCoreApplication::processEvents();  // as the open alert's event loop would
                });
    QTRY_COMPARE(int(world.alerts.size()), 2);
    QCOMPARE(world.mostAlertsOpen, 1);
    QCOMPARE(world.alerts[1].message, texts({"f6_title"}).front());
  }

  // Without a tray a closed panel leaves nothing to bring it back: closing asks, then quits.
  void closingThePanelWithoutATrayQuitsAfterAsking_data() {
    QTest::addColumn<bool>("tray");
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("visible");
    QTest::addColumn<int>("exitCode");  // -1: no quit
    QTest::newRow("tray") << true << kAlertFirstButton << false << -1;
    QTest::newRow("no tray, keep open") << false << kAlertSecondButton << true << -1;
    QTest::newRow("no tray, quit") << false << kAlertFirstButton << false << 0;
  }
  void closingThePanelWithoutATrayQuitsAfterAsking() {
    QFETCH(bool, tray);
    QFETCH(int, answer);
    QFETCH(bool, visible);
    QFETCH(int, exitCode);
    World world("en", true, answer);
    world.tray = tray;
    QTimer::singleShot(0, world.panel(), [&] {
      world.panel()->close();
      QTimer::singleShot(100, qApp, [] { QCoreApplication::exit(-1); });
    });
    QCOMPARE(QCoreApplication::exec(), exitCode);
    QCOMPARE(world.panel()->isVisible(), visible);
    QCOMPARE(world.alerts.size(), tray ? 0U : 1U);
    if (!tray) {
      QCOMPARE(world.alerts[0].message, "Closing the panel quits Vorrik");
      QCOMPARE(world.alerts[0].buttons, QStringList({"Quit Vorrik", "Keep Open"}));
    }
  }

  void commandsReachThePanel() {
    World world("en");
    VorrikPanel* panel = world.panel();
    QVERIFY(panel->isVisible());
    world.appMenu()->actions().at(4)->trigger();  // Hide
    QVERIFY(!panel->isVisible());
    // Start / Stop runs the engine without bringing the panel back.
    world.status()->actions().at(1)->trigger();
    QVERIFY(test::PanelProbe::engine(*panel).running());
    world.status()->actions().at(1)->trigger();
    QVERIFY(!test::PanelProbe::engine(*panel).running() && !panel->isVisible());
    world.status()->actions().at(0)->trigger();  // Show
    QVERIFY(panel->isVisible());
    panel->showMinimized();
    QVERIFY(world.delegate->applicationShouldHandleReopen(true));
    QVERIFY(panel->isVisible() && !panel->isMinimized());

    // Edit commands act on the text field that has the keyboard, and only there.
    QLineEdit* const field = test::PanelProbe::widgets(*panel).maxClicks;
    field->setText("15");
    field->setFocus();
    const auto edit = [&](int index) { world.editMenu()->actions().at(index)->trigger(); };
    edit(3);  // Select All
    edit(0);  // Cut
    QCOMPARE(QGuiApplication::clipboard()->text(), QString("15"));
    edit(2);  // Paste
    edit(2);
    QCOMPARE(field->text(), QString("1515"));
    panel->setFocus();
    edit(0);
    QCOMPARE(field->text(), QString("1515"));
  }
};

}  // namespace vorrik

QTEST_MAIN(vorrik::AppDelegateTest)
#include "AppDelegateTest.moc"
