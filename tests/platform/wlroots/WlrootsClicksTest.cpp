// SPDX-License-Identifier: MIT
// Real clicks on a private headless sway: the engine with its real timer thread and pauses
// clicks through a virtual pointer into another client's full-screen Qt window, which prints
// what Qt made of every event.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "e2e/WaylandPeer.h"
#include "platform/EngineOnServer.h"
#include "platform/wlroots/WlrootsInput.h"

namespace vorrik {
namespace {

using namespace std::chrono_literals;
using e2e::WaylandButton;

struct NoPacing final : ClickPacing {
  std::optional<std::chrono::microseconds> press() override { return std::nullopt; }
  void sent() override {}
  void hold() override {}
  void gap() override {}
};

class WlrootsClicks : public test::EngineOnServer<wlroots::WlrootsTrust, wlroots::WlrootsInjector> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(receiver.ready())
        << "needs a compositor: run through scripts/sessions/with-sway.sh";
    ASSERT_TRUE(injector.connected());
  }

  void runToTheEnd() {
    engine.start();
    pumpUntil([&] { return stopText.has_value(); });
  }

  // One click straight through the injector, without pauses.
  void clickAt(ClickPoint at) {
    NoPacing pacing;
    ASSERT_TRUE(injector.click(MouseButton::left, at, 1, pacing));
  }

  static std::vector<WaylandButton> only(const std::vector<WaylandButton>& events,
                                         const std::string& kind) {
    std::vector<WaylandButton> out;
    for (const WaylandButton& b : events) {
      if (b.kind == kind) {
        out.push_back(b);
      }
    }
    return out;
  }

  // After the base's injector, whose virtual pointer it must find.
  e2e::WaylandReceiver receiver{VORRIK_WAYLAND_RECEIVER};
};

// A window that was there before Vorrik: on a seat with no other pointer, the virtual pointer is
// its first, so nothing has put the pointer on it until the injector does.
struct EarlierWindow {
  e2e::WaylandReceiver receiver{VORRIK_WAYLAND_RECEIVER};
};

class WlrootsClicksOnAnEarlierWindow
    : public EarlierWindow,
      public test::EngineOnServer<wlroots::WlrootsTrust, wlroots::WlrootsInjector> {};

TEST_F(WlrootsClicksOnAnEarlierWindow, EveryClickAtTheUnmovedCursorArrives) {
  ASSERT_TRUE(receiver.ready()) << "needs a compositor: run through scripts/sessions/with-sway.sh";
  ASSERT_TRUE(injector.connected());
  ASSERT_TRUE(receiver.entered(20s)) << "the pointer never came onto the window";
  engine.intervalMs = 50;
  engine.maxClicks = 5;
  engine.start();
  pumpUntil([&] { return stopText.has_value(); });
  EXPECT_EQ(stopText, "Done: 5 clicks.");
  const std::vector<WaylandButton> events = receiver.buttons(300ms);
  ASSERT_EQ(events.size(), 10U);
  for (std::size_t i = 0; i < events.size(); ++i) {
    EXPECT_EQ(events[i].kind == "release", i % 2 == 1) << i;
    EXPECT_EQ(events[i].at, events.front().at) << i;
  }
}

TEST_F(WlrootsClicks, LeftClicksVisitThePointsInOrderAndStopAtTheCount) {
  const std::vector<ClickPoint> points{{100, 150}, {400, 300}, {1279, 719}};
  engine.points.assign(points);
  engine.intervalMs = 50;
  engine.maxClicks = 6;
  runToTheEnd();
  EXPECT_EQ(stopText, "Done: 6 clicks.");
  const std::vector<WaylandButton> events = receiver.buttons(300ms);
  ASSERT_EQ(events.size(), 12U);
  for (std::size_t i = 0; i < events.size(); ++i) {
    EXPECT_EQ(events[i].kind, i % 2 == 0 ? "press" : "release") << i;
    EXPECT_FALSE(events[i].right) << i;
    EXPECT_EQ(events[i].at, points[(i / 2) % 3]) << i;
  }
}

TEST_F(WlrootsClicks, ClicksAtTheCursorLandWhereThePointerIs) {
  clickAt({321, 234});
  engine.intervalMs = 50;
  engine.maxClicks = 3;
  runToTheEnd();
  // Qt reports every second press at the same spot as a double click.
  const auto events = receiver.buttons(300ms);
  const auto presses = only(events, "press");
  ASSERT_EQ(presses.size() + only(events, "double").size(), 4U);
  for (const WaylandButton& b : presses) {
    EXPECT_EQ(b.at, (ClickPoint{321, 234}));
  }
}

TEST_F(WlrootsClicks, QtSeesADoubleClick) {
  engine.points.assign({{200, 200}});
  engine.clickType = ClickType::double_;
  engine.maxClicks = 1;
  runToTheEnd();
  const std::vector<WaylandButton> events = receiver.buttons(300ms);
  ASSERT_EQ(events.size(), 4U);
  EXPECT_EQ(events[0].kind, "press");
  EXPECT_EQ(events[2].kind, "double") << "Qt reports the second press as a double click";
  EXPECT_EQ(only(events, "release").size(), 2U);
}

TEST_F(WlrootsClicks, PointsOutsideEveryOutputAreRefused) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    ClickPoint at;
    bool made = false;
  } cases[] = {{{0, 0}, true},
               {{1279, 719}, true},
               {{-1, 0}, false},
               {{1280, 0}, false},
               {{0, 720}, false},
               {{nan, 5}, false},
               {{std::numeric_limits<double>::infinity(), 0}, false}};
  for (const auto& c : cases) {
    NoPacing pacing;
    EXPECT_EQ(injector.click(MouseButton::left, c.at, 1, pacing), c.made)
        << c.at.x << "," << c.at.y;
  }
  NoPacing pacing;
  EXPECT_TRUE(injector.click(MouseButton::left, std::nullopt, 1, pacing));
}

// Sway keeps a button down when the process that pressed it dies without releasing it (measured:
// SIGTERM and SIGKILL during a press leave it held), so the injector releases on every orderly
// end, and Vorrik's signal handling ends in one.
TEST_F(WlrootsClicks, DestroyingTheInjectorMidPressReleases) {
  auto own = std::make_unique<wlroots::WlrootsInjector>();
  own->post({MouseAction::down, MouseButton::right, ClickPoint{600, 300}});
  ASSERT_EQ(receiver.buttons(1s).size(), 1U);
  own.reset();
  const auto after = receiver.buttons(1s);
  ASSERT_EQ(after.size(), 1U);
  EXPECT_EQ(after.front().kind, "release");
  EXPECT_TRUE(after.front().right);
}

}  // namespace
}  // namespace vorrik
