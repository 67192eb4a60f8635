// SPDX-License-Identifier: MIT
// Real clicks on a private X server: the engine with its real timer thread, pauses and X11
// backends clicks into a window of this process that covers the screen and records every
// button event.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/EngineOnServer.h"
#include "platform/x11/X11Input.h"

// Last: Xlib's macros clash with names in the headers above.
#include "e2e/Receiver.h"

namespace vorrik {
namespace {

using namespace std::chrono_literals;

using e2e::Button;
using e2e::Receiver;

class X11Clicks : public test::EngineOnServer<x11::X11Trust, x11::X11Injector> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(receiver.ready()) << "needs an X server: run through scripts/sessions/with-xvfb.sh";
  }

  Receiver receiver;
};

TEST_F(X11Clicks, LeftClicksVisitThePointsInOrderAndStopAtTheCount) {
  const std::vector<ClickPoint> points{{100, 150}, {400, 300}, {700, 500}};
  engine.points.assign(points);
  engine.intervalMs = 50;
  engine.maxClicks = 6;
  engine.start();
  pumpUntil([&] { return stopText.has_value(); });
  EXPECT_EQ(stopText, "Done: 6 clicks.");
  const std::vector<Button> events = receiver.take(300ms);
  ASSERT_EQ(events.size(), 12U);
  for (std::size_t i = 0; i < events.size(); ++i) {
    EXPECT_EQ(events[i].press, i % 2 == 0) << i;
    EXPECT_EQ(events[i].button, 1U) << i;
    EXPECT_EQ(events[i].at, points[(i / 2) % 3]) << i;
  }
  for (std::size_t i = 2; i < events.size(); i += 2) {
    EXPECT_GE(events[i].time - events[i - 2].time, 45U) << "delay 50 ms plus the 8 ms click";
    EXPECT_LE(events[i].time - events[i - 2].time, 2000U);
  }
}

TEST_F(X11Clicks, ClicksAtTheCursorFollowEveryKindOfPointerMoveDuringARun) {
  receiver.warpPointer(100, 100);
  engine.intervalMs = 50;
  engine.start();
  enum class How { motion, relative, warp };
  struct Move {
    int x, y;
    How how;
    ClickPoint expected;
  };
  for (const Move& move :
       {Move{400, 300, How::motion, {400, 300}}, Move{7, 5, How::relative, {407, 305}},
        Move{407, 305, How::motion, {407, 305}}, Move{-7, -5, How::relative, {400, 300}},
        Move{250, 150, How::warp, {250, 150}}, Move{600, 450, How::warp, {600, 450}}}) {
    pumpUntil([&] { return lastTick >= 1; });
    if (move.how == How::warp) {
      receiver.warpPointer(move.x, move.y);
    } else {
      receiver.movePointer(move.x, move.y, move.how == How::relative);
    }
    const std::int64_t after = lastTick + 2;
    pumpUntil([&] { return lastTick >= after; });
    const auto down = receiver.presses(0ms);
    ASSERT_FALSE(down.empty());
    EXPECT_EQ(down.back().at, move.expected) << move.x << "," << move.y;
    EXPECT_EQ(receiver.pointerAt(), move.expected) << "the pointer stays where it was moved";
  }
  engine.stop("Stopped");
}

TEST_F(X11Clicks, ClicksAtTheCursorReachTheSecondScreen) {
  Receiver second(0, 0, 0, 0, 1);
  ASSERT_TRUE(second.ready());
  second.warpPointer(300, 200, 1);
  engine.maxClicks = 3;
  engine.intervalMs = 50;
  engine.start();
  pumpUntil([&] { return stopText.has_value(); });
  EXPECT_EQ(stopText, "Done: 3 clicks.");
  const auto down = second.presses(300ms);
  ASSERT_EQ(down.size(), 3U) << "every counted click was made";
  for (const Button& b : down) {
    EXPECT_EQ(b.at, (ClickPoint{300, 200}));
  }
}

TEST_F(X11Clicks, LeftMeansThePrimaryButtonOfAReversedMap) {
  ASSERT_TRUE(receiver.mapButtons({3, 2, 1}));
  for (const auto& [type, logical] : {std::pair{ClickType::left, 1U}, {ClickType::right, 3U}}) {
    stopText.reset();
    engine.points.assign({{200, 200}});
    engine.clickType = type;
    engine.maxClicks = 1;
    engine.start();
    pumpUntil([&] { return stopText.has_value(); });
    const auto down = receiver.presses(300ms);
    ASSERT_FALSE(down.empty());
    EXPECT_EQ(down.back().button, logical);
  }
  // A map changed while Vorrik runs counts from the next click on.
  ASSERT_TRUE(receiver.mapButtons({1, 2, 3}));
  stopText.reset();
  engine.clickType = ClickType::left;
  engine.start();
  pumpUntil([&] { return stopText.has_value(); });
  EXPECT_EQ(receiver.presses(300ms).back().button, 1U);
}

// Every click shape reaches the receiver whole, press and release in turn, and the tick's last
// press, whose release the server makes, is held at least 8 ms in the server's milliseconds.
// The worker's own pauses are not timed here: under load the server may handle a write late.
TEST_F(X11Clicks, EveryClickShapeArrivesWholeAndTheServerHoldsTheLastPress) {
  struct Shape {
    ClickType type;
    std::int64_t burst;
    std::size_t events;
  };
  engine.points.assign({{250, 250}});
  for (const Shape& shape : {Shape{ClickType::left, 0, 2}, Shape{ClickType::right, 0, 2},
                             Shape{ClickType::double_, 0, 4}, Shape{ClickType::left, 3, 6}}) {
    stopText.reset();
    const std::size_t before = receiver.take(0ms).size();
    engine.clickType = shape.type;
    engine.burst = shape.burst;
    engine.maxClicks = std::max<std::int64_t>(shape.burst, 1);
    engine.start();
    pumpUntil([&] { return stopText.has_value(); });
    const std::vector<Button> all = receiver.take(300ms);
    const std::vector<Button> events(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
    ASSERT_EQ(events.size(), shape.events) << rawValue(shape.type) << " x" << shape.burst;
    for (std::size_t i = 0; i < events.size(); ++i) {
      EXPECT_EQ(events[i].press, i % 2 == 0) << i;
    }
    EXPECT_GE(events.back().time - events[events.size() - 2].time, 8U)
        << rawValue(shape.type) << " x" << shape.burst;
  }
}

// A release left to the server is made after the hold even when the connection closes at once,
// as it does when Vorrik quits right after a click.
TEST_F(X11Clicks, AReleaseLeftToTheServerIsMadeBeforeCloseOrSettleReturns) {
  struct ServerHolds final : ClickPacing {
    std::chrono::microseconds length = 8ms;
    std::optional<std::chrono::microseconds> press() override { return length; }
    void sent() override {}
    void hold() override { ADD_FAILURE() << "a hold left to the server is not waited out"; }
    void gap() override {}
  } pacing;
  for (const std::optional<ClickPoint> at : {std::optional<ClickPoint>{}, {ClickPoint{300, 200}}}) {
    const std::size_t before = receiver.take(0ms).size();
    auto own = std::make_unique<x11::X11Injector>();
    ASSERT_TRUE(own->click(MouseButton::left, at, 1, pacing));
    own.reset();
    const std::vector<Button> all = receiver.take(300ms);
    const std::vector<Button> events(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
    ASSERT_EQ(events.size(), 2U);
    EXPECT_TRUE(events[0].press);
    EXPECT_FALSE(events[1].press);
    EXPECT_GE(events[1].time - events[0].time, 8U);
    if (at) {
      EXPECT_EQ(events[1].at, *at) << "released where it pressed";
    }
  }
  // settle() returns only once the server has made the release it held: with a long hold, the
  // button is seen down, and up right after settle().
  pacing.length = 400ms;
  ASSERT_TRUE(injector.click(MouseButton::left, std::nullopt, 1, pacing));
  pumpUntil([&] { return receiver.leftDown(); });
  injector.settle();
  EXPECT_FALSE(receiver.leftDown());
}

}  // namespace
}  // namespace vorrik
