// SPDX-License-Identifier: MIT
// The panel with its real X11 services on a private X server, XTEST as the user's hand (what
// xdotool sends, from this process: forking a process whose click worker runs is beyond
// ThreadSanitizer): F6 pressed in another application starts and stops real clicks there, and
// a picked point is where the next run clicks. Time bounds are generous; bench/ measures
// precision.
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include "l10n/L.h"
#include "panel/PanelProbe.h"
#include "panel/VorrikPanel.h"
#include "platform/Backend.h"
#include "platform/posix/PosixServices.h"

// Last: Xlib's macros clash with names in the headers above.
#include "e2e/Receiver.h"

namespace vorrik {

// How QCOMPARE prints a point, found by argument-dependent lookup.
char* toString(const ClickPoint& point) {
  return QTest::toString(QPointF(point.x, point.y));
}

constexpr int kTimeoutMs = 10000;

class PanelHotkeyTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    // The real desktop, with its settings in a scratch folder and English chosen there.
    QVERIFY(config_.isValid());
    qputenv("XDG_CONFIG_HOME", config_.path().toUtf8());
    const Session session = Session::fromEnvironment();
    const BackendChoice choice = chooseBackend(session, availableBackends());
    QVERIFY2(choice.backend != nullptr, choice.why.c_str());
    desktop_ = choice.backend->open(session);
    desktop_->defaults().setString(L::kLangKey, "en");
    L::install({&desktop_->defaults(), &desktop_->preferredLanguages(), &desktop_->center()});
    QVERIFY(desktop_->input() != nullptr);
  }

  void init() {
    panel_ = std::make_unique<VorrikPanel>(VorrikPanel::Services::from(
        *desktop_, sleeper_, random_, std::make_unique<posix::WorkerTimer>()));
    panel_->show();
    QVERIFY(QTest::qWaitForWindowExposed(panel_.get()));
    // Another application, left of the centred panel, has the keyboard.
    receiver_ = std::make_unique<e2e::Receiver>(0, 0, 400, 400);
    QVERIFY(receiver_->ready());
    receiver_->focus();
    receiver_->movePointer(100, 100, false);
  }

  void cleanup() {
    panel_.reset();
    receiver_.reset();
  }

  void cleanupTestCase() { L::install({}); }

  void f6StartsAndStopsClicksInTheApplicationInFront_data() {
    QTest::addColumn<bool>("shift");
    QTest::newRow("F6") << false;
    QTest::newRow("Shift-F6") << true;
  }
  void f6StartsAndStopsClicksInTheApplicationInFront() {
    QFETCH(bool, shift);
    receiver_->tapKey(XK_F6, shift);
    QVERIFY(QTest::qWaitFor([this] { return presses().size() >= 3; }, kTimeoutMs));
    QVERIFY(engine().running());
    receiver_->tapKey(XK_F6, shift);
    QVERIFY(QTest::qWaitFor([this] { return !engine().running(); }, kTimeoutMs));
    QCOMPARE(ui().status->text(), "Stopped");
    const std::size_t atStop = presses().size();
    // The sentinel: with the panel gone its click thread has ended, so a click of the
    // receiver's own elsewhere comes after every click the run sent.
    panel_.reset();
    receiver_->warpPointer(kSentinel.x, kSentinel.y);
    receiver_->clickLeft();
    QVERIFY(QTest::qWaitFor(
        [this] { return !presses().empty() && presses().back().at == kSentinel; }, kTimeoutMs));
    auto all = presses();
    all.pop_back();
    // A click already under way when F6 arrived may still land; nothing after it.
    QVERIFY2(all.size() <= atStop + 1, qPrintable(QString::number(all.size() - atStop)));
    for (const e2e::Button& press : all) {
      QCOMPARE(press.button, 1U);
      QCOMPARE(press.at, (ClickPoint{100, 100}));
    }
  }

  // The display's focus decides at once; Qt learns of the focus leaving only later.
  void f6RightAfterTheKeyboardLeavesThePanelActs() {
    clickOn(ui().maxClicks);
    QVERIFY(QTest::qWaitFor([] { return QGuiApplication::focusWindow() != nullptr; }, kTimeoutMs));
    receiver_->tapKey(XK_F6);
    QTest::qWait(300);
    QVERIFY2(!engine().running(), "F6 typed into the panel is the panel's own");
    receiver_->focus();
    receiver_->tapKey(XK_F6);
    QVERIFY(QTest::qWaitFor([this] { return engine().running(); }, kTimeoutMs));
    receiver_->tapKey(XK_F6);
    QVERIFY(QTest::qWaitFor([this] { return !engine().running(); }, kTimeoutMs));
  }

  void aPickOnThePanelTakesNoPointAndTheControlStillActs() {
    clickOn(ui().addPointBtn);
    QTRY_COMPARE_WITH_TIMEOUT(ui().status->text(), "Click anywhere to set point 1...", kTimeoutMs);
    const bool jitter = ui().jitterCheck->isChecked();
    clickOn(ui().jitterCheck);
    QTRY_COMPARE_WITH_TIMEOUT(ui().jitterCheck->isChecked(), !jitter, kTimeoutMs);
    QCOMPARE(ui().status->text(), "Ready");
    QVERIFY(engine().points.empty());
    // Back as it was, with no pick pending.
    clickOn(ui().jitterCheck);
    QTRY_COMPARE_WITH_TIMEOUT(ui().jitterCheck->isChecked(), jitter, kTimeoutMs);
    QVERIFY(engine().points.empty());
  }

  void aPickedPointIsWhereTheNextRunClicks() {
    clickOn(ui().addPointBtn);
    QTRY_COMPARE_WITH_TIMEOUT(ui().status->text(), "Click anywhere to set point 1...", kTimeoutMs);
    // A warp, as xdotool's mousemove makes: no motion events, only a new position.
    receiver_->warpPointer(300, 200);
    receiver_->clickLeft();
    QTRY_COMPARE_WITH_TIMEOUT(engine().points.size(), 1U, kTimeoutMs);
    QCOMPARE(engine().points.snapshot()->front(), (ClickPoint{300, 200}));
    QCOMPARE(ui().pointsLabel->text(), "Target: 1 point(s) (300,200)");
    QCOMPARE(ui().status->text(), "Ready");

    const std::size_t before = presses().size();
    ui().maxClicks->setText(QStringLiteral("3"));
    receiver_->movePointer(50, 50, false);
    // A button of the panel leaves the keyboard with the other application, so F6 still acts.
    QVERIFY(QGuiApplication::focusWindow() == nullptr);
    receiver_->tapKey(XK_F6);
    QTRY_COMPARE_WITH_TIMEOUT(ui().status->text(), "Done: 3 clicks.", kTimeoutMs);
    const auto all = presses();
    QCOMPARE(all.size(), before + 3);
    for (std::size_t i = before; i < all.size(); ++i) {
      QCOMPARE(all[i].at, (ClickPoint{300, 200}));
    }
  }

 private:  // NOLINT(readability-redundant-access-specifiers): after moc's slot section
  // Where the receiver's own sentinel click goes: away from every click of a run.
  static constexpr ClickPoint kSentinel{7, 7};

  ClickEngine& engine() { return test::PanelProbe::engine(*panel_); }
  const ui::PanelWidgets& ui() { return test::PanelProbe::widgets(*panel_); }

  // A left click at a control's centre, the pointer moved there as a mouse would.
  void clickOn(const QWidget* control) {
    const QPoint at = control->mapToGlobal(control->rect().center());
    receiver_->movePointer(at.x(), at.y(), false);
    receiver_->clickLeft();
  }

  std::vector<e2e::Button> presses() { return receiver_->presses(std::chrono::milliseconds(0)); }

  QTemporaryDir config_;
  std::unique_ptr<Desktop> desktop_;
  posix::MonotonicSleeper sleeper_;
  posix::SystemRandom random_;
  std::unique_ptr<VorrikPanel> panel_;
  std::unique_ptr<e2e::Receiver> receiver_;
};

}  // namespace vorrik

QTEST_MAIN(vorrik::PanelHotkeyTest)
#include "PanelHotkeyTest.moc"
