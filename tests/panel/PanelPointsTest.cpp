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
  rig.click(rig.panel->addPointBtn);
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
    const QString line = rig.panel->pointsLabel->text();
    rig.click(rig.panel->addPointBtn);
    QTEST(rig.panel->status->text(), "status");
    QTEST(int(rig.input.leftPressMonitors().size()), "monitors");
    QCOMPARE(rig.panel->pointsLabel->text(), line);
    // The press after a refusal adds nothing.
    rig.pointer.moveTo(kAway);
    rig.input.pressLeft();
    QCOMPARE(rig.panel->engine.points.size(), std::size_t(std::min(held + 1, 5)));
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
    QVERIFY(frame.contains(QRectF(Rig::kPanelAt, QSizeF(300, 480))));
    const QPointF at =
        onPanel ? frame.topLeft() + QPointF(where.x() * frame.width(), where.y() * frame.height())
                : where;
    pick(rig, ClickPoint{at.x(), at.y()});
    QCOMPARE(rig.panel->status->text(), "Ready");
    QVERIFY(rig.input.leftPressMonitors().empty());
    const auto points = rig.panel->engine.points.snapshot();
    QCOMPARE(points->size(), stored ? 1U : 0U);
    if (stored) {
      QCOMPARE(points->front(), (ClickPoint{at.x(), at.y()}));
    } else {
      QCOMPARE(rig.panel->pointsLabel->text(), "Target: cursor");
    }
  }

  void theTargetLineTruncatesTowardZero() {
    Rig rig;
    pick(rig, ClickPoint{412.6, 230.2});
    QCOMPARE(rig.panel->pointsLabel->text(), "Target: 1 point(s) (412,230)");
    pick(rig, ClickPoint{-250.5, 40.0});
    pick(rig, ClickPoint{-0.9, 1e300});
    QCOMPARE(rig.panel->pointsLabel->text(),
             "Target: 3 point(s) (412,230) (-250,40) (0,1000000000000000)");
  }

  void withoutAScreenThePickEndsEmptyHanded() {
    Rig rig;
    pick(rig, std::nullopt);
    QCOMPARE(rig.panel->status->text(), "Ready");
    QVERIFY(rig.panel->engine.points.empty());
    QVERIFY(rig.input.leftPressMonitors().empty());
  }

  void aPressOnThePanelEndsThePickAndStillActs() {
    Rig rig;
    rig.click(rig.panel->addPointBtn);
    rig.click(rig.panel->jitterCheck);
    QVERIFY(rig.panel->jitterCheck->isChecked());
    QCOMPARE(rig.panel->status->text(), "Ready");
    QVERIFY(rig.input.leftPressMonitors().empty());
    // The display-wide report of that same press finds no pick left to end.
    rig.input.pressLeft();
    QVERIFY(rig.panel->engine.points.empty());
  }

  void pressingAddPointAgainStartsAFreshPickWithOneMonitor() {
    Rig rig;
    rig.click(rig.panel->addPointBtn);
    const auto first = rig.input.leftPressMonitors();
    // By mouse: the press ends the pick, the click arms the next.
    rig.click(rig.panel->addPointBtn);
    QCOMPARE(rig.input.removed(), first);
    // By keyboard or code, no press comes first: the pending pair is replaced.
    rig.panel->addPointBtn->click();
    QCOMPARE(rig.input.leftPressMonitors().size(), 1U);
    QCOMPARE(rig.input.removed().size(), 2U);
    QCOMPARE(rig.panel->status->text(), "Click anywhere to set point 1...");
    rig.pointer.moveTo(kAway);
    rig.input.pressLeft();
    QCOMPARE(rig.panel->engine.points.size(), 1U);
  }

  void clearForgetsThePointsButNotThePendingPick() {
    Rig rig;
    pick(rig, kAway);
    rig.click(rig.panel->addPointBtn);
    rig.panel->clearPointsBtn->click();
    QVERIFY(rig.panel->engine.points.empty());
    QCOMPARE(rig.panel->pointsLabel->text(), "Target: cursor");
    QCOMPARE(rig.panel->status->text(), "Click anywhere to set point 2...");
    rig.pointer.moveTo(kAway);
    rig.input.pressLeft();
    QCOMPARE(rig.panel->pointsLabel->text(), "Target: 1 point(s) (3,4)");
  }

  void aPickDuringARunSendsTheNextClickThere() {
    Rig rig;
    rig.press();
    pick(rig, ClickPoint{300, 200});
    QVERIFY(rig.panel->engine.running());
    QCOMPARE(rig.panel->status->text(), "Ready");
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
    QVERIFY(!rig.panel->engine.running());
    settle();
    QTEST(rig.panel->engine.running(), "running");
  }

  void f6IsLeftAloneWhileThePanelHasTheKeyboard() {
    Rig rig;
    rig.click(rig.panel->maxClicks);
    QVERIFY(QTest::qWaitFor([] { return QGuiApplication::focusWindow() != nullptr; }));
    rig.input.pressKey(Key::f6);
    settle();
    QVERIFY(!rig.panel->engine.running());
  }

  void f6LeavesAPendingPickPending() {
    Rig rig;
    rig.click(rig.panel->addPointBtn);
    QVERIFY(workElsewhere(rig));
    rig.input.pressKey(Key::f6);
    settle();
    QVERIFY(rig.panel->engine.running());
    QVERIFY(!rig.panel->isVisible());
    QCOMPARE(rig.input.leftPressMonitors().size(), 1U);
  }

  void relabelKeepsEverySettingInEveryLanguage_data() {
    QTest::addColumn<int>("language");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("target");
    QTest::newRow("en") << 0 << "Start  (F6)"
                        << "Target: 2 point(s) (412,230) (-250,40)";
    QTest::newRow("ht") << 1 << "Kòmanse  (F6)"
                        << "Sib: 2 pwen (412,230) (-250,40)";
    QTest::newRow("fr") << 2 << "Démarrer  (F6)"
                        << "Cible : 2 point(s) (412,230) (-250,40)";
    QTest::newRow("es") << 3 << "Iniciar  (F6)"
                        << "";
    QTest::newRow("pt") << 4 << "Iniciar  (F6)"
                        << "";
  }
  void relabelKeepsEverySettingInEveryLanguage() {
    QFETCH(int, language);
    QFETCH(QString, start);
    QFETCH(QString, target);
    Rig rig;
    VorrikPanel* panel = rig.panel.get();
    choose(panel->presetPop, 3);
    type(panel->customMs, "250");
    choose(panel->typePop, 2);
    for (int i = 0; i < 3; ++i) {
      panel->burstStep->stepUp();
    }
    rig.click(panel->jitterCheck);
    type(panel->maxClicks, "7");
    pick(rig, ClickPoint{412.6, 230.2});
    pick(rig, ClickPoint{-250.5, 40.0});
    const auto engineType = panel->engine.clickType.load();

    choose(panel->langPop, language);

    const std::string code = L::supported()[std::size_t(language)];
    QCOMPARE(L::lang(), code);
    const auto said = [](std::string_view key, const L::Values& values = {}) {
      return QString::fromStdString(L::t(key, values));
    };
    QCOMPARE(panel->startBtn->text(), start);
    for (const auto& [key, label] : panel->sectionLabels) {
      QCOMPARE(label->text(), said(key));
    }
    QCOMPARE(panel->presetPop->count(), 4);
    QCOMPARE(panel->presetPop->currentIndex(), 3);
    QCOMPARE(panel->presetPop->itemText(3), said("preset_custom"));
    QCOMPARE(panel->typePop->currentIndex(), 2);
    QCOMPARE(panel->typePop->itemText(2), said("double"));
    QVERIFY(panel->customMs->isVisible());
    QCOMPARE(panel->customMs->text(), "250");
    QCOMPARE(panel->customMs->placeholderText(), said("ms_placeholder"));
    QCOMPARE(panel->maxClicks->text(), "7");
    QCOMPARE(panel->maxClicks->placeholderText(), said("stop_placeholder"));
    QVERIFY(panel->jitterCheck->isChecked());
    QCOMPARE(panel->jitterCheck->text(), said("jitter"));
    QCOMPARE(panel->addPointBtn->text(), said("add_point"));
    QCOMPARE(panel->clearPointsBtn->text(), said("clear"));
    QCOMPARE(panel->burstStep->value(), 3);
    QCOMPARE(panel->burstLabel->text(), said("burst_x", {{"n", "3"}}));
    QCOMPARE(panel->status->text(), said("ready"));
    QCOMPARE(panel->stats->text(), said("zero_clicks"));
    QCOMPARE(panel->pointsLabel->text(),
             said("target_points", {{"n", "2"}, {"list", "(412,230) (-250,40)"}}));
    if (!target.isEmpty()) {
      QCOMPARE(panel->pointsLabel->text(), target);
    }
    QCOMPARE(panel->langPop->currentIndex(), language);
    QCOMPARE(panel->engine.clickType.load(), engineType);
    QCOMPARE(panel->dot->color(), theme::lampStopped());
  }

  void duringARunOnlyTheButtonTurnsAtOnce() {
    Rig rig;
    rig.press();
    rig.timer->fire();
    rig.queue.drain();
    QCOMPARE(rig.panel->stats->text(), "1 clicks this session");
    choose(rig.panel->langPop, 2);
    QCOMPARE(rig.panel->startBtn->text(), "Arrêter  (F6)");
    QCOMPARE(rig.panel->status->text(), "Clicking...");
    QCOMPARE(rig.panel->stats->text(), "1 clicks this session");
    QCOMPARE(rig.panel->dot->color(), theme::lampRunning());
    QCOMPARE(rig.panel->pointsLabel->text(), "Cible : curseur");
    rig.timer->fire();
    rig.queue.drain();
    QCOMPARE(rig.panel->stats->text(),
             QString::fromStdString(L::t("clicks_session", {{"n", "2"}})));
    QVERIFY(rig.panel->engine.running());
  }

  void theSameLanguageAgainClearsAnEarlierResult() {
    Rig rig;
    type(rig.panel->maxClicks, "1");
    rig.press();
    rig.runToEnd();
    QCOMPARE(rig.panel->status->text(), "Done: 1 clicks.");
    const auto posts = rig.center.posts().size();
    choose(rig.panel->langPop, 0);
    QCOMPARE(rig.center.posts().size(), posts + 1);
    QCOMPARE(rig.panel->status->text(), "Ready");
    QCOMPARE(rig.panel->stats->text(), "0 clicks");
  }

  void aLanguageSetElsewhereMovesThePopUpAndEmptySelectionsFallBack() {
    Rig rig;
    rig.panel->presetPop->setCurrentIndex(-1);
    rig.panel->typePop->setCurrentIndex(-1);
    L::setLang("pt");
    QCOMPARE(rig.panel->langPop->currentIndex(), 4);
    QCOMPARE(rig.panel->presetPop->currentIndex(), 0);
    QCOMPARE(rig.panel->typePop->currentIndex(), 0);
    QCOMPARE(rig.panel->engine.intervalMs.load(), 120);
  }
};

}  // namespace vorrik

QTEST_MAIN(vorrik::PanelPointsTest)
#include "PanelPointsTest.moc"
