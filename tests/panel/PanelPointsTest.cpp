// SPDX-License-Identifier: MIT
// Picking click points, the global F6 key and relabelling, through the panel's controls on
// fakes: the fake input monitor stands for presses anywhere on the display.
#include <QCheckBox>
#include <QLabel>

#include <string>
#include <vector>

#include "PanelRig.h"
#include "panel/Controls.h"
#include "panel/Theme.h"

namespace vorrik {

using test::choose;
using test::Rig;
using test::type;

namespace {

// A point outside the panel, which the offscreen platform centres on its screen.
constexpr ClickPoint kAway{3, 4};

// Arms a pick with the button and ends it with a press anywhere, the pointer at `at`.
void pick(Rig& rig, std::optional<ClickPoint> at) {
  rig.click(rig.ui().addPointBtn);
  rig.pointer.moveTo(at);
  rig.input.pressLeft();
}

// Lets queued calls (the hotkey's toggle) run.
void settle() {
  QCoreApplication::processEvents();
}

// The user works in another application: the panel is closed, so it has no keyboard (the
// offscreen platform hands a shown panel the keyboard).
bool workElsewhere(Rig& rig) {
  rig.panel->close();
  return QTest::qWaitFor([] { return QGuiApplication::focusWindow() == nullptr; });
}

}  // namespace

class PanelPointsTest : public QObject {
  Q_OBJECT

 private slots:
  void addPointAsksForTheNextOrSaysTheListIsFull_data() {
    QTest::addColumn<int>("held");
    QTest::addColumn<QString>("status");
    QTest::addColumn<int>("monitors");
    QTest::newRow("none") << 0 << "Click anywhere to set point 1..." << 1;
    QTest::newRow("two") << 2 << "Click anywhere to set point 3..." << 1;
    QTest::newRow("four") << 4 << "Click anywhere to set point 5..." << 1;
    QTest::newRow("five") << 5 << "Max 5 points" << 0;
  }
  void addPointAsksForTheNextOrSaysTheListIsFull() {
    QFETCH(int, held);
    Rig rig;
    for (int i = 0; i < held; ++i) {
      pick(rig, ClickPoint{double(i), 0});
    }
    const QString line = rig.ui().pointsLabel->text();
    rig.click(rig.ui().addPointBtn);
    QTEST(rig.ui().status->text(), "status");
    QTEST(int(rig.input.leftPressMonitors().size()), "monitors");
    QCOMPARE(rig.ui().pointsLabel->text(), line);
    // The press after a refusal adds nothing.
    rig.pointer.moveTo(kAway);
    rig.input.pressLeft();
    QCOMPARE(rig.engine().points.size(), std::size_t(std::min(held + 1, 5)));
  }

  void aPressStoresThePointerUnlessItIsOnThePanel_data() {
    QTest::addColumn<bool>("onPanel");
    // On the panel: a fraction of the frame's size from its top-left corner; else absolute.
    QTest::addColumn<QPointF>("where");
    QTest::addColumn<bool>("stored");
    QTest::newRow("elsewhere") << false << QPointF(300, 200) << true;
    QTest::newRow("frame's top-left corner") << true << QPointF(0, 0) << false;
    QTest::newRow("inside the frame") << true << QPointF(0.2, 0.7) << false;
    QTest::newRow("on the right edge") << true << QPointF(1, 0.1) << true;
    QTest::newRow("on the bottom edge") << true << QPointF(0.1, 1) << true;
    QTest::newRow("just above the frame") << true << QPointF(0.1, -0.001) << true;
  }
  void aPressStoresThePointerUnlessItIsOnThePanel() {
    QFETCH(bool, onPanel);
    QFETCH(QPointF, where);
    QFETCH(bool, stored);
    Rig rig;
    // The frame as it stands, decorations included.
    const QRectF frame = rig.panel->frameGeometry();
    QVERIFY(frame.contains(QRectF(Rig::kPanelAt, QSizeF(rig.panel->size()))));
    const QPointF at =
        onPanel ? frame.topLeft() + QPointF(where.x() * frame.width(), where.y() * frame.height())
                : where;
    pick(rig, ClickPoint{at.x(), at.y()});
    QCOMPARE(rig.ui().status->text(), "Ready");
    QVERIFY(rig.input.leftPressMonitors().empty());
    const auto points = rig.engine().points.snapshot();
    QCOMPARE(points->size(), stored ? 1U : 0U);
    if (stored) {
      QCOMPARE(points->front(), (ClickPoint{at.x(), at.y()}));
    } else {
      QCOMPARE(rig.ui().pointsLabel->text(), "Target: cursor");
    }
  }

  void withoutAScreenOrWithEscapeThePickEndsEmptyHanded() {
    Rig rig;
    rig.click(rig.ui().addPointBtn);
    QTest::keyClick(rig.panel.get(), Qt::Key_Escape);
    QCOMPARE(rig.ui().status->text(), "Ready");
    QVERIFY(rig.input.leftPressMonitors().empty());
    pick(rig, std::nullopt);
    QCOMPARE(rig.ui().status->text(), "Ready");
    QVERIFY(rig.engine().points.empty());
    QVERIFY(rig.input.leftPressMonitors().empty());
  }

  void aPressOnThePanelEndsThePickAndStillActs() {
    Rig rig;
    rig.click(rig.ui().addPointBtn);
    rig.click(rig.ui().jitterCheck);
    QVERIFY(rig.ui().jitterCheck->isChecked());
    QCOMPARE(rig.ui().status->text(), "Ready");
    QVERIFY(rig.input.leftPressMonitors().empty());
    // The display-wide report of that same press finds no pick left to end.
    rig.input.pressLeft();
    QVERIFY(rig.engine().points.empty());
  }

  void pressingAddPointAgainStartsAFreshPickWithOneMonitor() {
    Rig rig;
    rig.click(rig.ui().addPointBtn);
    const auto first = rig.input.leftPressMonitors();
    // By mouse: the press ends the pick, the click arms the next.
    rig.click(rig.ui().addPointBtn);
    QCOMPARE(rig.input.removed(), first);
    // By keyboard or code, no press comes first: the pending pair is replaced.
    rig.ui().addPointBtn->click();
    QCOMPARE(rig.input.leftPressMonitors().size(), 1U);
    QCOMPARE(rig.input.removed().size(), 2U);
    QCOMPARE(rig.ui().status->text(), "Click anywhere to set point 1...");
    rig.pointer.moveTo(kAway);
    rig.input.pressLeft();
    QCOMPARE(rig.engine().points.size(), 1U);
  }

  void clearForgetsThePointsButNotThePendingPick() {
    Rig rig;
    pick(rig, kAway);
    rig.click(rig.ui().addPointBtn);
    rig.ui().clearPointsBtn->click();
    QVERIFY(rig.engine().points.empty());
    QCOMPARE(rig.ui().pointsLabel->text(), "Target: cursor");
    QCOMPARE(rig.ui().status->text(), "Click anywhere to set point 2...");
    rig.pointer.moveTo(kAway);
    rig.input.pressLeft();
    QCOMPARE(rig.ui().pointsLabel->text(), "Target: 1 point(s) (3,4)");
  }

  void aPickDuringARunSendsTheNextClickThere() {
    Rig rig;
    rig.press();
    pick(rig, ClickPoint{300, 200});
    QVERIFY(rig.engine().running());
    QCOMPARE(rig.ui().status->text(), "Ready");
    rig.pointer.moveTo(kAway);
    rig.timer->fire();
    QCOMPARE(rig.injector.events().front().at, (ClickPoint{300, 200}));
  }

  void f6FromAnotherApplicationToggles_data() {
    QTest::addColumn<std::vector<Key>>("keys");
    QTest::addColumn<bool>("running");
    QTest::newRow("F6") << std::vector<Key>{Key::f6} << true;
    QTest::newRow("F6 twice") << std::vector<Key>{Key::f6, Key::f6} << false;
    QTest::newRow("F6 three times") << std::vector<Key>{Key::f6, Key::f6, Key::f6} << true;
    QTest::newRow("another key") << std::vector<Key>{Key::other} << false;
  }
  void f6FromAnotherApplicationToggles() {
    QFETCH(std::vector<Key>, keys);
    Rig rig;
    QCOMPARE(rig.input.keyMonitors().size(), 1U);
    QVERIFY(workElsewhere(rig));
    for (const Key key : keys) {
      rig.input.pressKey(key);
    }
    // Queued, never inside the monitor's handler.
    QVERIFY(!rig.engine().running());
    settle();
    QTEST(rig.engine().running(), "running");
  }

  void f6LeavesAPendingPickPending() {
    Rig rig;
    rig.click(rig.ui().addPointBtn);
    QVERIFY(workElsewhere(rig));
    rig.input.pressKey(Key::f6);
    settle();
    QVERIFY(rig.engine().running());
    QVERIFY(!rig.panel->isVisible());
    QCOMPARE(rig.input.leftPressMonitors().size(), 1U);
  }

  // One language change with every setting made: each text turns, each setting stays.
  void relabelTurnsEveryTextAndKeepsEverySetting() {
    Rig rig;
    const auto& ui = rig.ui();
    choose(ui.presetPop, 3);
    type(ui.customMs, "250");
    choose(ui.typePop, 2);
    for (int i = 0; i < 3; ++i) {
      ui.burstStep->stepUp();
    }
    rig.click(ui.jitterCheck);
    type(ui.maxClicks, "7");
    pick(rig, ClickPoint{412.6, 230.2});
    pick(rig, ClickPoint{-250.5, 40.0});

    choose(ui.langPop, 2);

    // Every setting stays; one text of each kind turns (a fixed label, a pop-up's items, a
    // text with a value, the target line).
    QCOMPARE(ui.presetPop->currentIndex(), 3);
    QCOMPARE(ui.customMs->text(), "250");
    QVERIFY(ui.customMs->isVisible());
    QCOMPARE(ui.typePop->currentIndex(), 2);
    QCOMPARE(rig.engine().clickType.load(), ClickType::double_);
    QVERIFY(ui.jitterCheck->isChecked());
    QCOMPARE(ui.maxClicks->text(), "7");
    QCOMPARE(ui.burstStep->value(), 3);
    QCOMPARE(ui.langPop->currentIndex(), 2);
    QCOMPARE(ui.sectionLabels.at("sec_interval")->text(), "INTERVALLE");
    QCOMPARE(ui.typePop->itemText(0), QString::fromStdString(L::t("left")));
    QCOMPARE(ui.burstLabel->text(), QString::fromStdString(L::t("burst_x", {{"n", "3"}})));
    QCOMPARE(ui.status->text(), "Prêt");
    QCOMPARE(ui.pointsLabel->text(), "Cible : 2 point(s) (412,230) (-250,40)");
  }

  void duringARunOnlyTheButtonTurnsAtOnce() {
    Rig rig;
    rig.press();
    rig.timer->fire();
    rig.queue.drain();
    QCOMPARE(rig.ui().stats->text(), "1 clicks this session");
    choose(rig.ui().langPop, 2);
    QCOMPARE(rig.ui().startBtn->text(), "Arrêter  (F6)");
    QCOMPARE(rig.ui().status->text(), "Clicking...");
    QCOMPARE(rig.ui().stats->text(), "1 clicks this session");
    QCOMPARE(rig.ui().dot->color(), theme::lampRunning());
    QCOMPARE(rig.ui().pointsLabel->text(), "Cible : curseur");
    rig.timer->fire();
    rig.queue.drain();
    QCOMPARE(rig.ui().stats->text(), QString::fromStdString(L::t("clicks_session", {{"n", "2"}})));
    QVERIFY(rig.engine().running());
  }

  void theSameLanguageAgainClearsAnEarlierResult() {
    Rig rig;
    type(rig.ui().maxClicks, "1");
    rig.press();
    rig.runToEnd();
    QCOMPARE(rig.ui().status->text(), "Done: 1 clicks.");
    const auto posts = rig.center.posts().size();
    choose(rig.ui().langPop, 0);
    QCOMPARE(rig.center.posts().size(), posts + 1);
    QCOMPARE(rig.ui().status->text(), "Ready");
    QCOMPARE(rig.ui().stats->text(), "0 clicks");
  }

  void aLanguageSetElsewhereMovesThePopUpAndEmptySelectionsFallBack() {
    Rig rig;
    rig.ui().presetPop->setCurrentIndex(-1);
    rig.ui().typePop->setCurrentIndex(-1);
    L::setLang("pt");
    QCOMPARE(rig.ui().langPop->currentIndex(), 4);
    QCOMPARE(rig.ui().presetPop->currentIndex(), 0);
    QCOMPARE(rig.ui().typePop->currentIndex(), 0);
    QCOMPARE(rig.engine().intervalMs.load(), 120);
  }
};

}  // namespace vorrik

QTEST_MAIN(vorrik::PanelPointsTest)
#include "PanelPointsTest.moc"
