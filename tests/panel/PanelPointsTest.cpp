// SPDX-License-Identifier: MIT
// Picking click points, the global F6 key and relabelling, through the panel's controls on
// fakes: the fake pick stands for the desktop's, the fake input monitor for keys anywhere.
#include <QCheckBox>
#include <QLabel>

#include <memory>
#include <optional>
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

constexpr ClickPoint kAway{3, 4};

// Starts a pick with the button and ends it at `at` (nothing: cancelled or refused).
void pick(Rig& rig, std::optional<ClickPoint> at) {
  Rig::click(rig.ui().addPointBtn);
  QVERIFY(rig.pick.finish(at));
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
    QTest::addColumn<bool>("pending");
    QTest::newRow("none") << 0 << "Click anywhere to set point 1..." << true;
    QTest::newRow("two") << 2 << "Click anywhere to set point 3..." << true;
    QTest::newRow("four") << 4 << "Click anywhere to set point 5..." << true;
    QTest::newRow("five") << 5 << "Max 5 points" << false;
  }
  void addPointAsksForTheNextOrSaysTheListIsFull() {
    QFETCH(int, held);
    Rig rig;
    for (int i = 0; i < held; ++i) {
      pick(rig, ClickPoint{double(i), 0});
    }
    const QString line = rig.ui().pointsLabel->text();
    Rig::click(rig.ui().addPointBtn);
    QTEST(rig.ui().status->text(), "status");
    QTEST(rig.pick.pending(), "pending");
    QCOMPARE(rig.ui().pointsLabel->text(), line);
    rig.pick.finish(kAway);
    QCOMPARE(rig.engine().points.size(), std::size_t(std::min(held + 1, 5)));
  }

  void aPickStoresItsPointAndEndsInEveryWay_data() {
    QTest::addColumn<bool>("escape");
    QTest::addColumn<std::optional<ClickPoint>>("at");
    QTest::newRow("a point") << false << std::optional(ClickPoint{300, 200});
    QTest::newRow("refused or cancelled by the desktop") << false << std::optional<ClickPoint>();
    QTest::newRow("Escape") << true << std::optional<ClickPoint>();
  }
  void aPickStoresItsPointAndEndsInEveryWay() {
    QFETCH(bool, escape);
    QFETCH(std::optional<ClickPoint>, at);
    Rig rig;
    if (escape) {
      Rig::click(rig.ui().addPointBtn);
      QTest::keyClick(rig.panel.get(), Qt::Key_Escape);
      QVERIFY(!rig.pick.pending());
    } else {
      pick(rig, at);
    }
    QCOMPARE(rig.ui().status->text(), "Ready");
    const auto points = rig.engine().points.snapshot();
    QCOMPARE(points->size(), at ? 1U : 0U);
    QCOMPARE(rig.ui().pointsLabel->text(), at ? "Target: 1 point(s) (300,200)" : "Target: cursor");
    // Escape belongs to a pending pick only.
    Rig::click(rig.ui().jitterCheck);
    QTest::keyClick(rig.panel.get(), Qt::Key_Escape);
    QCOMPARE(rig.ui().status->text(), "Ready");
  }

  void pressingAddPointAgainStartsAFreshPick() {
    Rig rig;
    Rig::click(rig.ui().addPointBtn);
    rig.ui().addPointBtn->click();
    QCOMPARE(rig.pick.starts(), 2);
    QCOMPARE(rig.ui().status->text(), "Click anywhere to set point 1...");
    QVERIFY(rig.pick.finish(kAway));
    QCOMPARE(rig.engine().points.size(), 1U);
  }

  void clearForgetsThePointsButNotThePendingPick() {
    Rig rig;
    pick(rig, kAway);
    Rig::click(rig.ui().addPointBtn);
    rig.ui().clearPointsBtn->click();
    QVERIFY(rig.engine().points.empty());
    QCOMPARE(rig.ui().pointsLabel->text(), "Target: cursor");
    QCOMPARE(rig.ui().status->text(), "Click anywhere to set point 2...");
    QVERIFY(rig.pick.finish(kAway));
    QCOMPARE(rig.ui().pointsLabel->text(), "Target: 1 point(s) (3,4)");
  }

  void aPickDuringARunSendsTheNextClickThere() {
    Rig rig;
    rig.press();
    pick(rig, ClickPoint{300, 200});
    QVERIFY(rig.engine().running());
    QCOMPARE(rig.ui().status->text(), "Ready");
    rig.timer->fire();
    QCOMPARE(rig.injector.events().front().at, (ClickPoint{300, 200}));
  }

  void thePanelGoneEndsItsPick() {
    auto rig = std::make_unique<Rig>();
    Rig::click(rig->ui().addPointBtn);
    rig->panel.reset();
    QVERIFY(!rig->pick.pending());
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
    Rig::click(rig.ui().addPointBtn);
    QVERIFY(workElsewhere(rig));
    rig.input.pressKey(Key::f6);
    settle();
    QVERIFY(rig.engine().running());
    QVERIFY(!rig.panel->isVisible());
    QVERIFY(rig.pick.pending());
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
    Rig::click(ui.jitterCheck);
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
    // The next count shown, in the new language: at 120 ms every second click is shown.
    for (int i = 0; i < 2; ++i) {
      rig.timer->fire();
      rig.queue.drain();
    }
    QCOMPARE(rig.ui().stats->text(), QString::fromStdString(L::t("clicks_session", {{"n", "3"}})));
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
