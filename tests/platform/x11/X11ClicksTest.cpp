// SPDX-License-Identifier: MIT
// Real clicks on a private X server: the engine with its real timer thread, pauses and X11
// backends clicks into a window of this process that covers the screen and records every
// button event. Time bounds are generous; bench/ measures precision.
#include <gtest/gtest.h>

#include <thread>

#include "engine/ClickEngine.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/posix/PosixServices.h"
#include "platform/x11/X11Input.h"

// Last: Xlib's macros clash with names in the headers above.
#include "e2e/Receiver.h"

namespace vorrik {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

using e2e::Button;
using e2e::Receiver;

class X11Clicks : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(receiver.ready()) << "needs an X server: run through tests/e2e/with-xvfb.sh";
    engine.onTick = [this](std::int64_t n) { lastTick = n; };
    engine.onStop = [this](const std::optional<std::string>& r) { stopText = r.value_or("-"); };
  }

  template <typename Pred>
  void pumpUntil(Pred pred) {
    const auto deadline = Clock::now() + 20s;
    while (!pred() && Clock::now() < deadline) {
      queue.drain();
      std::this_thread::sleep_for(1ms);
    }
    ASSERT_TRUE(pred());
  }

  static std::vector<Button> presses(const std::vector<Button>& events) {
    std::vector<Button> out;
    for (const Button& b : events) {
      if (b.press) {
        out.push_back(b);
      }
    }
    return out;
  }

  Receiver receiver;
  fake::FakeMainQueue queue;
  x11::X11Trust trust;
  x11::X11Injector injector;
  x11::X11Pointer pointer;
  posix::MonotonicSleeper sleeper;
  posix::SystemRandom random;
  ClickEngine engine{{queue, trust, injector, pointer, sleeper, random},
                     std::make_unique<posix::WorkerTimer>()};
  std::int64_t lastTick = 0;
  std::optional<std::string> stopText;
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
  const auto down = presses(events);
  for (std::size_t i = 1; i < down.size(); ++i) {
    EXPECT_GE(down[i].time - down[i - 1].time, 45U) << "delay 50 ms plus the 8 ms click";
    EXPECT_LE(down[i].time - down[i - 1].time, 2000U);
  }
}

TEST_F(X11Clicks, RightClickBurstsNeverExceedTheCount) {
  engine.points.assign({{640, 400}});
  engine.clickType = ClickType::right;
  engine.burst = 3;
  engine.maxClicks = 5;
  engine.start();
  pumpUntil([&] { return stopText.has_value(); });
  const std::vector<Button> events = receiver.take(300ms);
  ASSERT_EQ(events.size(), 10U);
  for (const Button& b : events) {
    EXPECT_EQ(b.button, 3U);
    EXPECT_EQ(b.at, (ClickPoint{640, 400}));
  }
  EXPECT_EQ(stopText, "Done: 5 clicks.");
}

TEST_F(X11Clicks, AfterAStopOnlyTheRestOfTheBurstArrives) {
  receiver.warpPointer(321, 234);
  engine.burst = 4;
  engine.intervalMs = 50;
  engine.start();
  pumpUntil([&] { return lastTick >= 6; });
  engine.stop("Stopped");
  const std::int64_t reported = engine.sessionClicks();
  const auto down = presses(receiver.take(500ms));
  EXPECT_EQ(down.size() % 4, 0U) << "bursts run to their end";
  EXPECT_LE(static_cast<std::int64_t>(down.size()), reported + 4);
  for (const Button& b : down) {
    EXPECT_EQ(b.at, (ClickPoint{321, 234})) << "clicks land at the cursor";
  }
}

TEST_F(X11Clicks, DoubleClickSendsTwoPairsAbout48msApart) {
  engine.points.assign({{200, 200}});
  engine.clickType = ClickType::double_;
  engine.maxClicks = 1;
  engine.start();
  pumpUntil([&] { return stopText.has_value(); });
  const std::vector<Button> events = receiver.take(300ms);
  ASSERT_EQ(events.size(), 4U);
  EXPECT_TRUE(events[0].press && !events[1].press && events[2].press && !events[3].press);
  EXPECT_GE(events[2].time - events[0].time, 45U);
  EXPECT_LE(events[2].time - events[0].time, 1000U);
}

TEST_F(X11Clicks, ClicksAtTheCursorFollowEveryKindOfPointerMoveDuringARun) {
  receiver.warpPointer(100, 100);
  engine.intervalMs = 50;
  engine.start();
  struct Move {
    int x, y;
    bool relative;
    ClickPoint expected;
  };
  for (const Move& move : {Move{400, 300, false, {400, 300}}, Move{7, 5, true, {407, 305}},
                           Move{407, 305, false, {407, 305}}, Move{-7, -5, true, {400, 300}}}) {
    pumpUntil([&] { return lastTick >= 1; });
    receiver.movePointer(move.x, move.y, move.relative);
    const std::int64_t after = lastTick + 2;
    pumpUntil([&] { return lastTick >= after; });
    const auto down = presses(receiver.take(0ms));
    ASSERT_FALSE(down.empty());
    EXPECT_EQ(down.back().at, move.expected) << move.x << "," << move.y << " " << move.relative;
  }
  engine.stop("Stopped");
}

}  // namespace
}  // namespace vorrik
