// SPDX-License-Identifier: MIT
// The tray item in a real XEmbed tray host: it docks, and a click on it opens the status menu.
// Runs under scripts/sessions/with-xvfb.sh --tray.
#include <QApplication>
#include <QMenu>
#include <QProcess>
#include <QSystemTrayIcon>
#include <QTest>

#include <memory>

#include "app/AppDelegate.h"
#include "l10n/L.h"
#include "platform/fake/FakeDesktop.h"

namespace vorrik {

class TrayTest : public QObject {
  Q_OBJECT

  fake::FakeDesktop desktop_;
  fake::FakeDefaultsStore& defaults_ = desktop_.fakeDefaults;
  fake::FakePreferredLanguages& preferred_ = desktop_.fakeLanguages;
  fake::FakeNotificationCenter& center_ = desktop_.fakeCenter;
  fake::FakeTrust& trust_ = desktop_.fakeTrust;
  fake::FakeSettingsLink& link_ = desktop_.fakeLink;
  std::unique_ptr<AppDelegate> delegate_;

  static bool xdotool(const QStringList& arguments) {
    return QProcess::execute(QStringLiteral("xdotool"), arguments) == 0;
  }

 private slots:
  void initTestCase() {
    QVERIFY2(qEnvironmentVariableIsSet("DISPLAY"), "run me under with-xvfb.sh --tray");
    QTRY_VERIFY_WITH_TIMEOUT(QSystemTrayIcon::isSystemTrayAvailable(), 10000);
    defaults_.setString(L::kLangKey, "en");
    L::install({&defaults_, &preferred_, &center_});
    delegate_ = std::make_unique<AppDelegate>(
        AppDelegate::Services{center_,
                              trust_,
                              link_,
                              [] { return std::make_unique<QWidget>(); },
                              [](const Alert&) { return kAlertSecondButton; },
                              {}});
    delegate_->applicationDidFinishLaunching();
  }
  void cleanupTestCase() {
    delegate_.reset();
    L::install({});
  }

  void theIconDocksInTheTray() {
    // The tray host (at the top right of the screen) gives the icon its place; until it has
    // reparented the icon, Qt reports the icon's own origin.
    QTRY_VERIFY_WITH_TIMEOUT(delegate_->statusItem()->geometry().x() > 640, 10000);
    QVERIFY(!delegate_->statusItem()->geometry().isEmpty());
    QVERIFY(delegate_->statusItem()->isVisible());
  }

  void aClickOpensTheStatusMenu_data() {
    QTest::addColumn<QString>("button");
    QTest::addColumn<bool>("clearOfTheIcon");
    QTest::newRow("left") << "1" << true;
    QTest::newRow("right") << "3" << false;  // Qt puts a context menu at the pointer
  }
  void aClickOpensTheStatusMenu() {
    QFETCH(QString, button);
    const QPoint centre = delegate_->statusItem()->geometry().center();
    QVERIFY(xdotool(
        {"mousemove", QString::number(centre.x()), QString::number(centre.y()), "click", button}));
    QTRY_VERIFY_WITH_TIMEOUT(QApplication::activePopupWidget() != nullptr, 5000);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    QCOMPARE(menu, delegate_->statusMenu());
    QVERIFY(menu->screen()->geometry().contains(menu->geometry()));
    QFETCH(bool, clearOfTheIcon);
    if (clearOfTheIcon) {
      QVERIFY(!menu->geometry().intersects(delegate_->statusItem()->geometry()));
    }
    menu->hide();
    QTRY_VERIFY(QApplication::activePopupWidget() == nullptr);
  }
};

}  // namespace vorrik

QTEST_MAIN(vorrik::TrayTest)
#include "TrayTest.moc"
