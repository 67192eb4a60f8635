// SPDX-License-Identifier: MIT
// X11 events carry no click count. A Qt window on a real X server must still see the engine's
// double click as one, from the timing of its two pairs alone; single clicks further apart
// than the double-click time must stay single.
#include <QApplication>
#include <QStyleHints>
#include <QTest>
#include <QWidget>

#include "engine/ClickEngine.h"
#include "platform/posix/PosixServices.h"
#include "platform/qt/QtServices.h"
#include "platform/x11/X11Input.h"

namespace vorrik {

class Target : public QWidget {
 public:
  int presses = 0;
  int doubleClicks = 0;

 protected:
  bool event(QEvent* e) override {
    presses += e->type() == QEvent::MouseButtonPress ? 1 : 0;
    doubleClicks += e->type() == QEvent::MouseButtonDblClick ? 1 : 0;
    return QWidget::event(e);
  }
};

class DoubleClickTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    target_ = std::make_unique<Target>();
    target_->setGeometry(100, 100, 300, 200);
    target_->show();
    QVERIFY(QTest::qWaitForWindowExposed(target_.get()));
    const QPoint centre = target_->mapToGlobal(target_->rect().center());
    engine_ = std::make_unique<ClickEngine>(
        ClickEngine::Ports{queue_, trust_, injector_, sleeper_, random_},
        std::make_unique<posix::WorkerTimer>());
    engine_->points.assign({{double(centre.x()), double(centre.y())}});
  }
  void cleanup() {
    engine_.reset();
    target_.reset();
  }

  void twoPairs40msApartAreADoubleClick() {
    engine_->clickType = ClickType::double_;
    engine_->maxClicks = 1;
    engine_->start();
    QTRY_COMPARE_WITH_TIMEOUT(target_->doubleClicks, 1, 10000);
  }

  void singleClicksFurtherApartStaySingle() {
    engine_->intervalMs = QGuiApplication::styleHints()->mouseDoubleClickInterval() + 200;
    engine_->maxClicks = 2;
    engine_->start();
    QTRY_COMPARE_WITH_TIMEOUT(target_->presses, 2, 10000);
    QTest::qWait(200);
    QCOMPARE(target_->doubleClicks, 0);
  }

 private:
  qt::QtMainQueue queue_;
  x11::X11Trust trust_;
  x11::X11Injector injector_;
  posix::MonotonicSleeper sleeper_;
  posix::SystemRandom random_;
  std::unique_ptr<Target> target_;
  std::unique_ptr<ClickEngine> engine_;
};

}  // namespace vorrik

QTEST_MAIN(vorrik::DoubleClickTest)
#include "DoubleClickTest.moc"
