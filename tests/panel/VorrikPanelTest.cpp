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
  void intervalAndJitterAreReadAtStart_data() {
    QTest::addColumn<int>("preset");
    QTest::addColumn<QString>("custom");
    QTest::addColumn<bool>("on");
    QTest::addColumn<qint64>("interval");
    QTest::addColumn<qint64>("jitter");
    const std::pair<const char*, qint64> custom[] = {
        {"", 120},       {"abc", 120},   {"2.5", 120}, {" 200", 120},
        {"200ms", 120},  {"1,000", 120}, {"٣٠٠", 120}, {"99999999999999999999", 120},
        {"+200", 200},   {"30", 50},     {"0", 50},    {"-5", 50},
        {"90000", 60000}};
    for (const auto& [text, ms] : custom) {
      QTest::newRow(text) << 3 << QString::fromUtf8(text) << false << ms << qint64{0};
    }
    for (const qint64 ms : {50, 59, 120, 1234, 2500, 3000, 60000}) {
      QTest::addRow("jitter at %lld", ms)
          << 3 << QString::number(ms) << true << ms << std::max<qint64>(ms / 10, 5);
    }
    QTest::newRow("preset ignores the field") << 1 << "777" << true << qint64{2500} << qint64{250};
    QTest::newRow("refresh preset") << 2 << "" << false << qint64{3000} << qint64{0};
  }
  void intervalAndJitterAreReadAtStart() {
    QFETCH(int, preset);
    QFETCH(QString, custom);
    QFETCH(bool, on);
    Rig rig;
    choose(rig.panel->presetPop, 3);
    type(rig.panel->customMs, custom);
    choose(rig.panel->presetPop, preset);
    if (on) {
      QTest::mouseClick(rig.panel->jitterCheck, Qt::LeftButton);
    }
    rig.press();
    QTEST(qint64{rig.panel->engine.intervalMs.load()}, "interval");
    QTEST(qint64{rig.panel->engine.jitterMs.load()}, "jitter");
  }

  void stopAfterIsReadAtStart_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("count");
    const std::pair<const char*, qint64> rows[] = {{"", 0},    {"10", 10}, {"0", 0},
                                                   {"-3", -3}, {"10 ", 0}, {"1e3", 0}};
    for (const auto& [text, count] : rows) {
      QTest::newRow(text) << QString(text) << count;
    }
  }
  void stopAfterIsReadAtStart() {
    QFETCH(QString, text);
    Rig rig;
    type(rig.panel->maxClicks, text);
    rig.press();
    QTEST(qint64{rig.panel->engine.maxClicks.load()}, "count");
  }

  void twoPressesStartThenStop() {
    Rig rig;
    rig.press();
    QVERIFY(rig.panel->engine.running());
    QCOMPARE(rig.panel->status->text(), "Clicking...");
    QCOMPARE(rig.panel->startBtn->text(), "Stop  (F6)");
    QCOMPARE(rig.panel->dot->color(), theme::lampRunning());
    rig.press();
    QVERIFY(!rig.panel->engine.running());
    QVERIFY(!rig.timer->armed());
    QCOMPARE(rig.panel->status->text(), "Stopped");
    QCOMPARE(rig.panel->startBtn->text(), "Start  (F6)");
    QCOMPARE(rig.panel->dot->color(), theme::lampStopped());
  }

  void startWithoutTrustIsRefused() {
    Rig rig;
    rig.trust.setTrusted(false);
    rig.press();
    QVERIFY(!rig.panel->engine.running());
    QCOMPARE(rig.trust.prompts(), 1);
    QCOMPARE(rig.panel->status->text(),
             "Clicks need the X server's XTEST extension: turn it on, then press Start again.");
    QCOMPARE(rig.panel->startBtn->text(), "Start  (F6)");
    QCOMPARE(rig.panel->dot->color(), theme::lampStopped());
    QCOMPARE(rig.panel->stats->text(), "0 clicks");
  }

  void stopAfterThreeEndsByItselfAndTheCountStaysUntilTheNextClick() {
    Rig rig;
    type(rig.panel->maxClicks, "3");
    rig.press();
    rig.runToEnd();
    QCOMPARE(rig.injector.presses(), 3U);
    QCOMPARE(rig.panel->status->text(), "Done: 3 clicks.");
    QCOMPARE(rig.panel->stats->text(), "3 clicks this session");
    QCOMPARE(rig.panel->startBtn->text(), "Start  (F6)");
    QCOMPARE(rig.panel->dot->color(), theme::lampStopped());

    rig.press();
    QCOMPARE(rig.panel->stats->text(), "3 clicks this session");
    rig.timer->fire();
    rig.queue.drain();
    QCOMPARE(rig.panel->stats->text(), "1 clicks this session");
  }

  void returnAndTheActionNameToggleToo() {
    Rig rig;
    QTest::keyClick(rig.panel.get(), Qt::Key_Return);
    QVERIFY(rig.panel->engine.running());
    // Return in a text field reaches the panel as well.
    QTest::keyClick(rig.panel->maxClicks, Qt::Key_Enter, Qt::KeypadModifier);
    QVERIFY(!rig.panel->engine.running());
    QVERIFY(QMetaObject::invokeMethod(rig.panel.get(), "toggle"));
    QVERIFY(rig.panel->engine.running());
  }

  void typeAndBurstReachTheEngineAtOnce() {
    Rig rig;
    rig.press();
    choose(rig.panel->typePop, 2);
    QCOMPARE(rig.panel->engine.clickType.load(), ClickType::double_);
    rig.timer->fire();
    QCOMPARE(rig.injector.events().back().clickState, 2);

    Stepper* step = rig.panel->burstStep;
    QCOMPARE(step->value(), 0);
    QCOMPARE(rig.panel->burstLabel->text(), "Burst: off");
    QTest::mouseClick(step, Qt::LeftButton, {}, QPoint(step->width() / 2, step->height() / 4));
    QCOMPARE(rig.panel->engine.burst.load(), 1);
    QCOMPARE(rig.panel->burstLabel->text(), "Burst: x1");
    for (int i = 0; i < 15; ++i) {
      step->stepUp();
    }
    QCOMPARE(rig.panel->engine.burst.load(), 10);
    QCOMPARE(rig.panel->burstLabel->text(), "Burst: x10");
    for (int i = 0; i < 15; ++i) {
      step->stepDown();
    }
    QCOMPARE(rig.panel->engine.burst.load(), 0);
    QCOMPARE(rig.panel->burstLabel->text(), "Burst: off");
    step->setValue(42);
    QCOMPARE(step->value(), 10);
  }

  void customFieldShowsOnlyForCustomAndKeepsItsText() {
    Rig rig;
    QLineEdit* field = rig.panel->customMs;
    QVERIFY(field->isHidden());
    // Selecting in code is not a user's choice: no action runs.
    rig.panel->presetPop->setCurrentIndex(3);
    QVERIFY(field->isHidden());
    choose(rig.panel->presetPop, 3);
    QVERIFY(field->isVisible());
    type(field, "250");
    choose(rig.panel->presetPop, 1);
    QVERIFY(field->isHidden());
    choose(rig.panel->presetPop, 3);
    QVERIFY(field->isVisible());
    QCOMPARE(field->text(), "250");
  }

  void windowAndFixedSizes() {
    Rig rig;
    VorrikPanel* panel = rig.panel.get();
    QVERIFY(rig.exposed);
    QCOMPARE(panel->windowTitle(), "Vorrik");
    QVERIFY(panel->windowFlags().testFlag(Qt::Tool));
    QVERIFY(panel->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QCOMPARE(panel->minimumSize(), QSize(300, 480));
    QCOMPARE(panel->maximumSize(), QSize(300, 480));
    QCOMPARE(panel->findChild<QWidget*>("header")->width(), 272);
    QCOMPARE(panel->startBtn->width(), 272);
    QCOMPARE(panel->maxClicks->width(), 272);
    QCOMPARE(panel->langPop->width(), 272);
    choose(panel->presetPop, 3);
    QCOMPARE(panel->customMs->width(), 110);
    QCOMPARE(panel->dot->size(), QSize(10, 10));

    // A menu bar goes above the column and moves nothing inside it.
    const QRect button = panel->startBtn->geometry();
    auto* bar = new QMenuBar(panel);
    bar->addMenu(QStringLiteral("Vorrik"));
    panel->layout()->setMenuBar(bar);
    panel->layout()->activate();
    QCOMPARE(panel->startBtn->geometry(), button);
    QCOMPARE(panel->findChild<QWidget*>("content")->size(), QSize(300, 480));
    QVERIFY(QTest::qWaitFor([&] { return panel->height() == 480 + bar->sizeHint().height(); }));
  }

  void columnInOrderHangingFromTheTop() {
    Rig rig;
    VorrikPanel* panel = rig.panel.get();
    const auto section = [panel](const char* key) { return panel->sectionLabels.at(key); };
    QCOMPARE(panel->sectionLabels.size(), 5U);
    QCOMPARE(section("sec_stop")->text(), "STOP AFTER");
    QList<QWidget*> column;
    column << panel->findChild<QWidget*>("header") << panel->startBtn << section("sec_interval")
           << panel->presetPop << section("sec_click") << panel->typePop << panel->jitterCheck
           << section("sec_target") << panel->pointsLabel << panel->addPointBtn
           << section("sec_stop") << panel->maxClicks << panel->stats << section("sec_language")
           << panel->langPop;
    int bottom = 0;
    for (QWidget* item : column) {
      const QPoint at = item->mapTo(panel, QPoint());
      QCOMPARE(at.x(), 14);
      QCOMPARE(at.y(), bottom == 0 ? 12 : bottom + 8);
      bottom = at.y() + item->height();
    }
    QVERIFY(bottom < 480);
  }

  void keyboardOnlyForTextFields() {
    Rig rig;
    const auto id = static_cast<WindowSystem::Window>(rig.panel->winId());
    QCOMPARE(rig.windows.everyWorkspace, std::vector<WindowSystem::Window>{id});
    QCOMPARE(rig.windows.takesKeyboard, false);
    QTest::mouseClick(rig.panel->jitterCheck, Qt::LeftButton);
    QTest::mouseClick(rig.panel->addPointBtn, Qt::LeftButton);
    QCOMPARE(rig.windows.keyboardRequests.size(), 1U);
    QTest::mouseClick(rig.panel->maxClicks, Qt::LeftButton);
    QCOMPARE(rig.windows.takesKeyboard, true);
    QVERIFY(rig.panel->maxClicks->hasFocus());
    QEvent away(QEvent::WindowDeactivate);
    QApplication::sendEvent(rig.panel.get(), &away);
    QCOMPARE(rig.windows.takesKeyboard, false);
  }

  void builtInTheLanguageCurrentThen() {
    Rig rig("fr-CA");
    QCOMPARE(rig.panel->langPop->currentIndex(), 2);
    QCOMPARE(rig.panel->status->text(), "Prêt");
    QCOMPARE(rig.panel->sectionLabels.at("sec_interval")->text(), "INTERVALLE");
    QCOMPARE(rig.panel->langPop->itemText(4), "Português");
  }

  void languagePopUpStoresTheChoice() {
    Rig rig;
    choose(rig.panel->langPop, 3);
    QCOMPARE(rig.defaults.stringForKey(L::kLangKey), "es");
    QCOMPARE(rig.center.posts().back(), L::changed());
  }
};

}  // namespace vorrik

QTEST_MAIN(vorrik::VorrikPanelTest)
#include "VorrikPanelTest.moc"
