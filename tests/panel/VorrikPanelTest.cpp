// SPDX-License-Identifier: MIT
// The control panel driven through its real controls on fakes: settings, runs, layout, keyboard.
#include <QCheckBox>
#include <QLabel>
#include <QLayout>
#include <QMenuBar>
#include "PanelRig.h"
#include "panel/Controls.h"
#include "panel/Theme.h"

namespace vorrik {

using test::choose;
using test::Rig;
using test::type;

class VorrikPanelTest : public QObject {
  Q_OBJECT

 private slots:
  // The reading itself is tabled in PanelTextsTest; these rows follow each control to the engine.
  void settingsAreReadAtStart_data() {
    QTest::addColumn<int>("preset");
    QTest::addColumn<QString>("custom");
    QTest::addColumn<bool>("jitter");
    QTest::addColumn<QString>("stopAfter");
    QTest::addColumn<qint64>("interval");
    QTest::addColumn<qint64>("jitterMs");
    QTest::addColumn<qint64>("maxClicks");
    QTest::newRow("custom") << 3 << "250" << true << "7" << qint64{250} << qint64{25} << qint64{7};
    QTest::newRow("a preset ignores the field")
        << 1 << "777" << false << "" << qint64{2500} << qint64{0} << qint64{0};
  }
  void settingsAreReadAtStart() {
    QFETCH(int, preset);
    QFETCH(QString, custom);
    QFETCH(bool, jitter);
    QFETCH(QString, stopAfter);
    Rig rig;
    choose(rig.ui().presetPop, 3);
    type(rig.ui().customMs, custom);
    choose(rig.ui().presetPop, preset);
    if (jitter) {
      QTest::mouseClick(rig.ui().jitterCheck, Qt::LeftButton);
    }
    type(rig.ui().maxClicks, stopAfter);
    rig.press();
    QTEST(qint64{rig.engine().intervalMs.load()}, "interval");
    QTEST(qint64{rig.engine().jitterMs.load()}, "jitterMs");
    QTEST(qint64{rig.engine().maxClicks.load()}, "maxClicks");
  }

  void stopAfterThreeEndsByItselfAndTheCountStaysUntilTheNextClick() {
    Rig rig;
    type(rig.ui().maxClicks, "3");
    rig.press();
    rig.runToEnd();
    QCOMPARE(rig.injector.presses(), 3U);
    QCOMPARE(rig.ui().status->text(), "Done: 3 clicks.");
    QCOMPARE(rig.ui().stats->text(), "3 clicks this session");
    QCOMPARE(rig.ui().startBtn->text(), "Start  (F6)");
    QCOMPARE(rig.ui().dot->color(), theme::lampStopped());

    rig.press();
    QCOMPARE(rig.ui().stats->text(), "3 clicks this session");
    rig.timer->fire();
    rig.queue.drain();
    QCOMPARE(rig.ui().stats->text(), "1 clicks this session");
  }

  // A desktop that remembers the user's consent grants it again a moment after the first Start,
  // without a dialog: that Start clicks once the grant is in, and never before it or after a
  // Stop. Without a remembered consent, Start asks and stops at once with the line.
  void startWaitsForARememberedConsent_data() {
    QTest::addColumn<bool>("remembered");
    QTest::addColumn<bool>("stopFirst");
    QTest::addColumn<bool>("granted");
    QTest::addColumn<unsigned>("presses");
    QTest::newRow("granted") << true << false << true << 1U;
    QTest::newRow("stopped while pending") << true << true << true << 0U;
    QTest::newRow("refused after all") << true << false << false << 0U;
    QTest::newRow("not remembered") << false << false << true << 0U;
  }
  void startWaitsForARememberedConsent() {
    QFETCH(bool, remembered);
    QFETCH(bool, stopFirst);
    QFETCH(bool, granted);
    QFETCH(unsigned, presses);
    Rig rig;
    rig.trust.setTrusted(false);
    rig.trust.setRefusal(Refusal::notAllowed);
    rig.trust.setRemembers(remembered);
    rig.press();
    QCOMPARE(rig.trust.prompts(), 1);
    QCOMPARE(rig.engine().running(), remembered);
    QVERIFY(!rig.timer->armed());
    if (stopFirst) {
      rig.press();
    }
    rig.trust.answer(granted);
    rig.timer->fire();
    rig.queue.drain();
    QCOMPARE(rig.injector.presses(), std::size_t{presses});
    const bool clicking = remembered && granted && !stopFirst;
    QCOMPARE(rig.engine().running(), clicking);
    QCOMPARE(rig.ui().startBtn->text(), clicking ? "Stop  (F6)" : "Start  (F6)");
    if (!clicking && !stopFirst) {
      QCOMPARE(rig.ui().status->text(), QString::fromStdString(L::t("rd_needed")));
    }
    // Once stopped, a late grant starts nothing.
    rig.engine().stop({});
    rig.trust.answer(true);
    QVERIFY(!rig.engine().running());
    QVERIFY(!rig.timer->armed());
  }

  void returnAndTheActionNameToggleToo() {
    Rig rig;
    QTest::keyClick(rig.panel.get(), Qt::Key_Return);
    QVERIFY(rig.engine().running());
    // Return in a text field reaches the panel as well.
    QTest::keyClick(rig.ui().maxClicks, Qt::Key_Enter, Qt::KeypadModifier);
    QVERIFY(!rig.engine().running());
    QVERIFY(QMetaObject::invokeMethod(rig.panel.get(), "toggle"));
    QVERIFY(rig.engine().running());
  }

  void typeAndBurstReachTheEngineAtOnce() {
    Rig rig;
    rig.press();
    choose(rig.ui().typePop, 2);
    QCOMPARE(rig.engine().clickType.load(), ClickType::double_);
    rig.timer->fire();
    QCOMPARE(rig.injector.events().back().clickState, 2);

    Stepper* step = rig.ui().burstStep;
    QCOMPARE(step->value(), 0);
    QCOMPARE(rig.ui().burstLabel->text(), "Burst: off");
    QTest::mouseClick(step, Qt::LeftButton, {}, QPoint(step->width() / 2, step->height() / 4));
    QCOMPARE(rig.engine().burst.load(), 1);
    QCOMPARE(rig.ui().burstLabel->text(), "Burst: x1");
    step->stepDown();
    QCOMPARE(rig.engine().burst.load(), 0);
    QCOMPARE(rig.ui().burstLabel->text(), "Burst: off");
  }

  void customFieldShowsOnlyForCustomAndKeepsItsText() {
    Rig rig;
    QLineEdit* field = rig.ui().customMs;
    QVERIFY(field->isHidden());
    // Selecting in code is not a user's choice: no action runs.
    rig.ui().presetPop->setCurrentIndex(3);
    QVERIFY(field->isHidden());
    choose(rig.ui().presetPop, 3);
    QVERIFY(field->isVisible());
    type(field, "250");
    choose(rig.ui().presetPop, 1);
    QVERIFY(field->isHidden());
    choose(rig.ui().presetPop, 3);
    QVERIFY(field->isVisible());
    QCOMPARE(field->text(), "250");
  }

  // The window's hints and fixed size are checked as a window manager sees them in
  // panel_window.sh.
  void aMenuBarLeavesTheColumnInPlace() {
    Rig rig;
    VorrikPanel* panel = rig.panel.get();
    const auto& ui = rig.ui();
    QVERIFY(rig.exposed);
    const QRect button = ui.startBtn->geometry();
    const int height = panel->height();
    auto* bar = new QMenuBar(panel);
    bar->addMenu(QStringLiteral("Vorrik"));
    panel->layout()->setMenuBar(bar);
    panel->layout()->activate();
    QCOMPARE(ui.startBtn->geometry(), button);
    QVERIFY(QTest::qWaitFor([&] { return panel->height() == height + bar->sizeHint().height(); }));
  }

  // Every control in order down the column, none overlapping the next, all inside the window.
  void columnInOrderInsideTheWindow() {
    Rig rig;
    VorrikPanel* panel = rig.panel.get();
    const auto& ui = rig.ui();
    const auto section = [&ui](const char* key) { return ui.sectionLabels.at(key); };
    QList<QWidget*> column;
    column << panel->findChild<QWidget*>("header") << ui.startBtn << section("sec_interval")
           << ui.presetPop << section("sec_click") << ui.typePop << ui.jitterCheck
           << section("sec_target") << ui.pointsLabel << ui.addPointBtn << section("sec_stop")
           << ui.maxClicks << ui.stats << section("sec_language") << ui.langPop;
    int bottom = 0;
    for (QWidget* item : column) {
      const QRect at(item->mapTo(panel, QPoint()), item->size());
      QVERIFY2(at.top() >= bottom, qPrintable(item->metaObject()->className()));
      QVERIFY(panel->rect().contains(at));
      bottom = at.bottom() + 1;
    }
  }

  // panel_window.sh checks the hints a window manager sees; this is the way back.
  void theKeyboardGoesBackWhenThePanelIsLeft() {
    Rig rig;
    QTest::mouseClick(rig.ui().maxClicks, Qt::LeftButton);
    QCOMPARE(rig.windows.takesKeyboard, true);
    QEvent away(QEvent::WindowDeactivate);
    QApplication::sendEvent(rig.panel.get(), &away);
    QCOMPARE(rig.windows.takesKeyboard, false);
  }

  void builtInTheLanguageCurrentThen() {
    Rig rig("fr-CA");
    QCOMPARE(rig.ui().langPop->currentIndex(), 2);
    QCOMPARE(rig.ui().status->text(), "Prêt");
    QCOMPARE(rig.ui().sectionLabels.at("sec_interval")->text(), "INTERVALLE");
    QCOMPARE(rig.ui().langPop->itemText(4), "Português");
  }

  void languagePopUpStoresTheChoice() {
    Rig rig;
    choose(rig.ui().langPop, 3);
    QCOMPARE(rig.defaults.stringForKey(L::kLangKey), "es");
    QCOMPARE(rig.center.posts().back(), L::changed());
  }
};

}  // namespace vorrik

QTEST_MAIN(vorrik::VorrikPanelTest)
#include "VorrikPanelTest.moc"
