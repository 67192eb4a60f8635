// SPDX-License-Identifier: MIT
// The delegate's start-up, menus and commands, on the offscreen platform with a stand-in panel.
#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QSignalSpy>
#include <QSystemTrayIcon>
#include <QTest>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "StubPanel.h"
#include "app/AppDelegate.h"
#include "l10n/L.h"
#include "platform/fake/FakeSettingsLink.h"
#include "platform/fake/Fakes.h"

namespace vorrik {

namespace {

struct Item {
  std::string key;  // empty for a separator
  QKeySequence shortcut = {};
  bool submenu = false;
};

// What a menu shows, as (title, shortcut, has submenu) rows; separators as empty rows.
std::vector<Item> rows(const QMenu* menu) {
  std::vector<Item> result;
  for (const QAction* action : menu->actions()) {
    result.push_back({action->isSeparator() ? std::string() : action->text().toStdString(),
                      action->shortcut(), action->menu() != nullptr});
  }
  return result;
}

std::vector<Item> expected(const std::vector<Item>& keys) {
  std::vector<Item> result;
  for (const Item& item : keys) {
    result.push_back(
        {item.key.empty() ? std::string() : L::t(item.key), item.shortcut, item.submenu});
  }
  return result;
}

bool operator==(const Item& a, const Item& b) {
  return a.key == b.key && a.shortcut == b.shortcut && a.submenu == b.submenu;
}

char* toString(const std::vector<Item>& items) {
  QByteArray text;
  for (const Item& item : items) {
    text += QByteArray::fromStdString(item.key) + " [" + item.shortcut.toString().toUtf8() +
            (item.submenu ? "] >\n" : "]\n");
  }
  return qstrdup(text.constData());
}

QMenu* submenu(const QMenu* menu, int index) {
  return menu->actions().at(index)->menu();
}

QAction* languageAction(const QMenu* menu, const QString& name) {
  for (QAction* action : menu->actions()) {
    if (action->text() == name) return action;
  }
  return nullptr;
}

}  // namespace

class AppDelegateTest : public QObject {
  Q_OBJECT

  struct World {
    fake::FakeDefaultsStore defaults;
    fake::FakePreferredLanguages preferred;
    fake::FakeNotificationCenter center;
    fake::FakeTrust trust;
    fake::FakeSettingsLink link;
    std::vector<Alert> alerts;
    int answer = kAlertSecondButton;
    // What existed when the alert came up.
    bool panelAtAlert = false;
    bool trayAtAlert = false;
    std::unique_ptr<AppDelegate> delegate;

    explicit World(std::optional<std::string> stored = std::nullopt, bool trusted = true) {
      if (stored) defaults.setString(L::kLangKey, *stored);
      L::install({&defaults, &preferred, &center});
      trust.setTrusted(trusted);
      delegate = std::make_unique<AppDelegate>(
          AppDelegate::Services{center, trust, link, [] { return std::make_unique<StubPanel>(); },
                                [this](const Alert& alert) {
                                  alerts.push_back(alert);
                                  panelAtAlert = delegate->panel() != nullptr;
                                  trayAtAlert = delegate->statusItem() != nullptr;
                                  return answer;
                                }});
    }
    ~World() {
      delegate.reset();
      L::install({});
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    StubPanel* panel() const { return static_cast<StubPanel*>(delegate->panel()); }
    QMenu* appMenu() const { return delegate->mainMenu()->actions().at(0)->menu(); }
    QMenu* editMenu() const { return delegate->mainMenu()->actions().at(1)->menu(); }
  };

 private slots:
  void cleanup() { QCoreApplication::setApplicationVersion({}); }

  void bothMenusInTheCurrentLanguage_data() {
    QTest::addColumn<QString>("lang");
    QTest::addColumn<QString>("quit");
    QTest::newRow("English") << "en"
                             << "Quit Vorrik";
    QTest::newRow("French") << "fr"
                            << "Quitter Vorrik";
  }
  void bothMenusInTheCurrentLanguage() {
    QFETCH(QString, lang);
    QFETCH(QString, quit);
    World world(lang.toStdString());
    world.delegate->applicationDidFinishLaunching();
    QVERIFY(world.alerts.empty());

    // The bar hangs above the panel's column.
    QCOMPARE(world.panel()->layout()->menuBar(), world.delegate->mainMenu());
    QCOMPARE(world.delegate->mainMenu()->actions().size(), 2);
    QCOMPARE(world.appMenu()->title(), QString("Vorrik"));
    QCOMPARE(rows(world.appMenu()), expected({{"m_about"},
                                              {},
                                              {"m_language", {}, true},
                                              {},
                                              {"m_hide", QKeySequence(Qt::CTRL | Qt::Key_H)},
                                              {"m_quit", QKeySequence::Quit}}));
    QCOMPARE(world.appMenu()->actions().at(5)->text(), quit);
    QCOMPARE(world.editMenu()->title(), QString::fromStdString(L::t("m_edit")));
    QCOMPARE(rows(world.editMenu()), expected({{"m_cut", QKeySequence::Cut},
                                               {"m_copy", QKeySequence::Copy},
                                               {"m_paste", QKeySequence::Paste},
                                               {"m_selectall", QKeySequence::SelectAll}}));

    QMenu* status = world.delegate->statusMenu();
    QCOMPARE(world.delegate->statusItem()->contextMenu(), status);
    QCOMPARE(rows(status), expected({{"m_show"},
                                     {"m_toggle"},
                                     {},
                                     {"m_ax"},
                                     {"m_language", {}, true},
                                     {},
                                     {"m_quit", QKeySequence::Quit}}));

    // Both Language submenus: the names of every language in their own words, in menu order,
    // one check mark, on the current language.
    for (QMenu* languages : {submenu(world.appMenu(), 2), submenu(status, 4)}) {
      QCOMPARE(languages->title(), QString::fromStdString(L::t("m_language")));
      QStringList names;
      QStringList checked;
      for (const QAction* action : languages->actions()) {
        names << action->text();
        QVERIFY(action->isCheckable());
        if (action->isChecked()) checked << action->data().toString();
      }
      QCOMPARE(names,
               (QStringList{"English", "Kreyòl Ayisyen", "Français", "Español", "Português"}));
      QCOMPARE(checked, QStringList{lang});
    }
  }

  void pickingALanguageRebuildsBothMenus_data() {
    QTest::addColumn<bool>("fromStatusMenu");
    QTest::newRow("status menu") << true;
    QTest::newRow("main menu") << false;
  }
  void pickingALanguageRebuildsBothMenus() {
    QFETCH(bool, fromStatusMenu);
    World world("en");
    world.delegate->applicationDidFinishLaunching();
    const QPointer<QMenuBar> oldBar = world.delegate->mainMenu();
    const QPointer<QMenu> oldStatus = world.delegate->statusMenu();
    QMenu* languages = fromStatusMenu ? submenu(oldStatus, 4) : submenu(world.appMenu(), 2);

    languageAction(languages, "Français")->trigger();

    QCOMPARE(world.defaults.stringForKey(L::kLangKey), std::optional<std::string>("fr"));
    QVERIFY(world.delegate->mainMenu() != oldBar);
    QVERIFY(world.delegate->statusMenu() != oldStatus);
    QCOMPARE(world.panel()->layout()->menuBar(), world.delegate->mainMenu());
    QCOMPARE(world.appMenu()->actions().at(5)->text(), QString("Quitter Vorrik"));
    QCOMPARE(world.delegate->statusMenu()->actions().at(6)->text(), QString("Quitter Vorrik"));
    QVERIFY(languageAction(submenu(world.delegate->statusMenu(), 4), "Français")->isChecked());
    QVERIFY(!languageAction(submenu(world.delegate->statusMenu(), 4), "English")->isChecked());
    // The old menus go once the event loop has finished with them.
    QTRY_VERIFY(!oldBar && !oldStatus);

    // The language that has the check mark already: announced again, menus built again.
    const QPointer<QMenu> frenchStatus = world.delegate->statusMenu();
    languageAction(submenu(frenchStatus, 4), "Français")->trigger();
    QCOMPARE(world.center.posts().size(), 2u);
    QVERIFY(world.delegate->statusMenu() != frenchStatus);
    QCOMPARE(world.delegate->statusMenu()->actions().at(6)->text(), QString("Quitter Vorrik"));
  }

  void aLanguageItemWithoutACodeDoesNothing_data() {
    QTest::addColumn<QVariant>("data");
    QTest::newRow("no data") << QVariant();
    QTest::newRow("a number") << QVariant(3);
    QTest::newRow("a list") << QVariant(QStringList{"fr"});
  }
  void aLanguageItemWithoutACodeDoesNothing() {
    QFETCH(QVariant, data);
    World world("es");
    world.delegate->applicationDidFinishLaunching();
    const QPointer<QMenu> status = world.delegate->statusMenu();
    QAction item;
    item.setData(data);
    world.delegate->pickLanguage(&item);
    world.delegate->pickLanguage(nullptr);
    QCOMPARE(L::lang(), std::string("es"));
    QVERIFY(world.center.posts().empty());
    QCOMPARE(world.delegate->statusMenu(), status.data());
  }

  void aboutShowsTheVersion_data() {
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("title");
    QTest::newRow("set") << "2.7"
                         << "Vorrik for Mac 2.7";
    QTest::newRow("missing") << ""
                             << "Vorrik for Mac 1.1";
  }
  void aboutShowsTheVersion() {
    QFETCH(QString, version);
    QFETCH(QString, title);
    World world("en");
    world.delegate->applicationDidFinishLaunching();
    QCoreApplication::setApplicationVersion(version);
    world.appMenu()->actions().at(0)->trigger();
    QCOMPARE(world.alerts.size(), 1u);
    QCOMPARE(world.alerts[0].message, title);
    QCOMPARE(world.alerts[0].informative, QString::fromStdString(L::t("about_body")));
    QCOMPARE(world.alerts[0].informative.count('\n'), 2);
    QVERIFY(world.alerts[0].buttons.isEmpty());
  }

  void toggleFromTheStatusMenuLeavesThePanelWhereItIs() {
    World world("en");
    world.delegate->applicationDidFinishLaunching();
    StubPanel* panel = world.panel();
    panel->hide();
    QAction* toggle = world.delegate->statusMenu()->actions().at(1);
    toggle->trigger();
    QVERIFY(panel->running);
    toggle->trigger();
    QVERIFY(!panel->running);
    QCOMPARE(panel->toggles, 2);
    QVERIFY(!panel->isVisible());
  }

  void showAndReopenBringBackAHiddenPanel() {
    World world("en");
    world.delegate->applicationDidFinishLaunching();
    QVERIFY(world.panel()->isVisible());
    world.appMenu()->actions().at(4)->trigger();  // Hide
    QVERIFY(!world.panel()->isVisible());
    world.delegate->statusMenu()->actions().at(0)->trigger();  // Show
    QVERIFY(world.panel()->isVisible());
    world.panel()->showMinimized();
    QVERIFY(world.delegate->applicationShouldHandleReopen(true));
    QVERIFY(world.panel()->isVisible());
    QVERIFY(!world.panel()->isMinimized());
    QVERIFY(!AppDelegate::applicationShouldTerminateAfterLastWindowClosed());
  }

  void editCommandsActOnTheFocusedField() {
    World world("en");
    world.delegate->applicationDidFinishLaunching();
    QLineEdit* field = world.panel()->field;
    field->setText("1500");
    field->setFocus();
    QCOMPARE(world.panel()->focusWidget(), field);
    const auto edit = [&](int index) { world.editMenu()->actions().at(index)->trigger(); };

    edit(3);  // Select All
    QCOMPARE(field->selectedText(), QString("1500"));
    edit(1);  // Copy
    QCOMPARE(QGuiApplication::clipboard()->text(), QString("1500"));
    edit(0);  // Cut
    QCOMPARE(field->text(), QString());
    edit(2);  // Paste
    edit(2);
    QCOMPARE(field->text(), QString("15001500"));

    // Without a focused field the commands touch nothing.
    field->clearFocus();
    world.panel()->setFocus();
    edit(0);
    QCOMPARE(field->text(), QString("15001500"));
  }

  void startUpChecksThePermission_data() {
    QTest::addColumn<bool>("trusted");
    QTest::addColumn<int>("answer");
    QTest::addColumn<int>("alerts");
    QTest::addColumn<int>("prompts");
    QTest::addColumn<int>("opens");
    QTest::newRow("trusted: no alert") << true << kAlertFirstButton << 0 << 0 << 0;
    QTest::newRow("Open Settings") << false << kAlertFirstButton << 1 << 1 << 1;
    QTest::newRow("Later") << false << kAlertSecondButton << 1 << 0 << 0;
    QTest::newRow("closed without a button") << false << 999 << 1 << 0 << 0;
  }
  void startUpChecksThePermission() {
    QFETCH(bool, trusted);
    QFETCH(int, answer);
    World world("en", trusted);
    world.answer = answer;
    world.delegate->applicationDidFinishLaunching();
    QFETCH(int, alerts);
    QCOMPARE(static_cast<int>(world.alerts.size()), alerts);
    QFETCH(int, prompts);
    QCOMPARE(world.trust.prompts(), prompts);
    QFETCH(int, opens);
    QCOMPARE(world.link.opens(), opens);
    if (alerts == 0) return;
    QVERIFY(world.panelAtAlert && world.trayAtAlert);
    const Alert& alert = world.alerts[0];
    QCOMPARE(alert.message, QString("Vorrik needs Accessibility access"));
    QCOMPARE(alert.informative, QString::fromStdString(L::t("ax_body")));
    QCOMPARE(alert.buttons, (QStringList{"Open Settings", "Later"}));
    // Either answer leaves the panel and its menus as they were.
    QVERIFY(world.panel()->isVisible());
    QVERIFY(world.delegate->statusMenu());
  }

  void theAlertSpeaksTheStoredLanguage() {
    World world("es", false);
    world.delegate->applicationDidFinishLaunching();
    QCOMPARE(world.alerts.size(), 1u);
    QCOMPARE(world.alerts[0].message, QString::fromStdString(L::table().at("es").at("ax_title")));
    QCOMPARE(world.alerts[0].buttons.at(1), QString("Más tarde"));
  }

  void accessibilitySettingsOpenWithoutAsking() {
    World world("en");
    world.delegate->applicationDidFinishLaunching();
    const int queries = world.trust.queries();
    world.delegate->statusMenu()->actions().at(3)->trigger();
    QCOMPARE(world.link.opens(), 1);
    QCOMPARE(world.trust.queries(), queries);
  }

  void aLanguageChangeFromElsewhereRebuildsTheMenusOnly() {
    World world("en");
    world.delegate->applicationDidFinishLaunching();
    QSystemTrayIcon* tray = world.delegate->statusItem();
    QWidget* panel = world.panel();
    L::setLang("pt");
    QCOMPARE(world.delegate->statusMenu()->actions().at(0)->text(), QString("Mostrar Vorrik"));
    QCOMPARE(world.delegate->statusItem(), tray);
    QCOMPARE(world.delegate->panel(), panel);
    QCOMPARE(tray->toolTip(), QString("Vorrik"));
  }

  void aGoneDelegateIgnoresLanguageChanges() {
    World world("en");
    world.delegate->applicationDidFinishLaunching();
    world.delegate.reset();
    L::setLang("ht");  // must not touch the destroyed delegate
    QCOMPARE(world.center.posts().size(), 1u);
  }
};

}  // namespace vorrik

QTEST_MAIN(vorrik::AppDelegateTest)
#include "AppDelegateTest.moc"
