// SPDX-License-Identifier: MIT
// A control panel on fakes for every port, shown on the offscreen platform, and the user's
// ways of choosing and typing.
#pragma once

#include <QAbstractItemView>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <algorithm>
#include <memory>
#include <string>

#include "PanelProbe.h"
#include "l10n/L.h"
#include "panel/VorrikPanel.h"
#include "platform/fake/FakeDesktop.h"

namespace vorrik::test {

// Every port faked, the language installed, and a shown panel on top.
struct Rig {
  explicit Rig(const std::string& language = "en") {
    preferred.set({language});
    L::install({&defaults, &preferred, &center});
    panel = std::make_unique<VorrikPanel>(
        VorrikPanel::Services::from(world, world.sleeper, world.random, world.makeTimer()));
    timer = world.timer;
    // At the right of the offscreen platform's 800 x 600 screen, clear of the points tests pick.
    panel->move(kPanelAt);
    panel->show();
    exposed = QTest::qWaitForWindowExposed(panel.get());
  }
  ~Rig() {
    panel.reset();
    L::install({});
  }
  Rig(const Rig&) = delete;
  Rig& operator=(const Rig&) = delete;

  // The panel's engine and controls.
  ClickEngine& engine() const { return PanelProbe::engine(*panel); }
  const ui::PanelWidgets& ui() const { return PanelProbe::widgets(*panel); }

  void press() { click(ui().startBtn); }
  // A left click on one of the panel's controls.
  static void click(QWidget* control) { QTest::mouseClick(control, Qt::LeftButton); }

  static constexpr QPoint kPanelAt{480, 60};
  // Ticks the engine and delivers its reports until the run ends (a bounded number of ticks).
  void runToEnd() {
    for (int tick = 0; tick < 50 && engine().running(); ++tick) {
      timer->fire();
      queue.drain();
    }
  }

  fake::FakeDesktop world;
  fake::FakeMainQueue& queue = world.fakeQueue;
  fake::FakeTrust& trust = world.fakeTrust;
  fake::FakeInjector& injector = world.fakeInjector;
  fake::FakePointPick& pick = world.fakePick;
  fake::FakeNotificationCenter& center = world.fakeCenter;
  fake::FakeDefaultsStore& defaults = world.fakeDefaults;
  fake::FakePreferredLanguages& preferred = world.fakeLanguages;
  fake::FakeWindowSystem& windows = world.fakeWindows;
  fake::FakeInputMonitor& input = world.fakeInput;
  fake::FakeTimer* timer = nullptr;
  std::unique_ptr<VorrikPanel> panel;
  bool exposed = false;
};

// As a user picks an item: open the list, move to the item, press Return.
inline void choose(QComboBox* popUp, int index) {
  popUp->showPopup();
  QAbstractItemView* view = popUp->view();
  view->setCurrentIndex(view->model()->index(index, 0));
  QTest::keyClick(view, Qt::Key_Return);
}

// Keys for ASCII text; other scripts arrive as an input method would insert them.
inline void type(QLineEdit* field, const QString& text) {
  field->clear();
  if (std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 128; })) {
    QTest::keyClicks(field, text);
  } else {
    field->insert(text);
  }
}

}  // namespace vorrik::test
