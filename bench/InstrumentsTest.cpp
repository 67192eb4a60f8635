// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "Instruments.h"
#include "platform/fake/FakeDesktop.h"

namespace vorrik::bench {
namespace {

using namespace std::chrono_literals;

struct TimerRig {
  explicit TimerRig(std::optional<std::chrono::nanoseconds> steady = std::nullopt) {
    auto owned = std::make_unique<fake::FakeTimer>(clock);
    inner = owned.get();
    timer = std::make_unique<TimedTimer>(std::move(owned), recorder, steady);
  }
  fake::FakeClock clock;
  PortRecorder recorder;
  fake::FakeTimer* inner = nullptr;
  std::unique_ptr<TimedTimer> timer;
};

TEST(TimedTimer, PassesDelaysThroughAndRecordsOneLatenessPerHandler) {
  TimerRig rig;
  int fired = 0;
  rig.timer->arm(1s, [&] { ++fired; });
  rig.timer->arm(2s, [&] { ++fired; });
  ASSERT_TRUE(rig.inner->fire());
  EXPECT_EQ(fired, 1);
  EXPECT_EQ(rig.inner->delays(), (std::vector<std::chrono::nanoseconds>{1s, 2s}));
  EXPECT_EQ(rig.recorder.take().timerLateness.size(), 1u);
  rig.timer->cancel();
  EXPECT_FALSE(rig.inner->armed());
}

TEST(TimedTimer, SteadyTimelineCountsFromThePreviousDeadlineUntilACancel) {
  TimerRig rig(8ms);
  rig.timer->arm(1s, [] {});
  rig.timer->arm(1s, [] {});
  // The first deadline, 8 ms, then 1 s: 2.008 s from the first call, less the moment that passed
  // between the calls (up to a second on a machine as busy as can be).
  const auto second = rig.inner->delays().at(1);
  EXPECT_LE(second, 2008ms);
  EXPECT_GT(second, 1008ms);
  // A stop ends the timeline: the next run counts from now again.
  rig.timer->cancel();
  rig.timer->arm(1s, [] {});
  EXPECT_EQ(rig.inner->delays().at(2), 1s);
}

TEST(TimedPointer, AnswersLiveOrFromTheFirstReadingAfterForget) {
  fake::FakePointer pointer;
  PortRecorder recorder;
  TimedPointer live(pointer, recorder);
  TimedPointer caching(pointer, recorder, true);

  pointer.moveTo(ClickPoint{1, 2});
  EXPECT_EQ(caching.position(), (ClickPoint{1, 2}));
  pointer.moveTo(ClickPoint{3, 4});
  EXPECT_EQ(live.position(), (ClickPoint{3, 4}));
  EXPECT_EQ(caching.position(), (ClickPoint{1, 2}));
  caching.forget();
  EXPECT_EQ(caching.position(), (ClickPoint{3, 4}));
  // No screen: nothing, from either.
  pointer.moveTo(std::nullopt);
  caching.forget();
  EXPECT_EQ(caching.position(), std::nullopt);
  EXPECT_EQ(live.position(), std::nullopt);
  EXPECT_EQ(recorder.take().pointerQuery.size(), 6u);
}

TEST(TimedInjector, PostsEverythingAndTimesDownsAndUpsApart) {
  fake::FakeClock clock;
  fake::FakeInjector injector(clock);
  PortRecorder recorder;
  TimedInjector timed(injector, recorder);
  const ClickPoint at{10, 20};
  for (auto action : {MouseAction::down, MouseAction::up, MouseAction::down}) {
    const auto event = timed.make(action, MouseButton::left, at);
    ASSERT_TRUE(event);
    timed.post(*event);
  }
  EXPECT_EQ(injector.events().size(), 3u);
  const PortTimes times = recorder.take();
  EXPECT_EQ(times.downPosted.size(), 2u);
  EXPECT_EQ(times.upPosted.size(), 1u);
  EXPECT_LE(times.downPosted[0], times.upPosted[0]);
  // take() empties the recorder for the next series.
  EXPECT_TRUE(recorder.take().downPosted.empty());
}

}  // namespace
}  // namespace vorrik::bench
