// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <set>

#include "EngineRig.h"
#include "l10n/L.h"

namespace vorrik::test {
namespace {

using namespace std::chrono_literals;
using Targets = std::vector<std::optional<ClickPoint>>;
using std::chrono::microseconds;

constexpr ClickPoint A{10, 20};
constexpr ClickPoint B{30, 40};
constexpr ClickPoint C{50, 60};
const std::string kAxNeeded =
    "stop Clicks need the X server's XTEST extension: turn it on, then press Start again.";

void installEnglish() {
  static fake::FakeDefaultsStore defaults;
  static fake::FakePreferredLanguages preferred;
  static fake::FakeNotificationCenter center;
  preferred.set({"en-US"});
  L::install({&defaults, &preferred, &center});
}

// The delays between ticks: each tick arms the next with its own single click's 8 ms added,
// so that the delay counts from when the tick is meant to end; the first comes from start().
std::vector<std::int64_t> delaysMs(const fake::FakeTimer& timer) {
  std::vector<std::int64_t> ms;
  for (auto d : timer.delays()) {
    const auto click = ms.empty() ? 0 : 8;
    ms.push_back(std::chrono::duration_cast<std::chrono::milliseconds>(d).count() - click);
  }
  return ms;
}

template <typename Base>
struct WithRig : Base {
  WithRig() { installEnglish(); }
  EngineRig rig;
  ClickEngine& engine = *rig.engine;
};
using EngineTest = WithRig<::testing::Test>;

TEST_F(EngineTest, NewEngineClicksLeftOncePerTickAtTheCursorEvery120msWithoutLimit) {
  EXPECT_EQ(engine.clickType.load(), ClickType::left);
  EXPECT_TRUE(engine.points.empty());
  EXPECT_FALSE(engine.running());
  engine.start();
  EXPECT_TRUE(engine.running());
  EXPECT_TRUE(rig.injector.events().empty()) << "the first click comes one delay after start";
  for (int i = 0; i < 30; ++i) {
    ASSERT_TRUE(rig.tick());
  }
  EXPECT_EQ(delaysMs(*rig.timer), std::vector<std::int64_t>(31, 120));
  EXPECT_EQ(rig.injector.presses(), 30U);
  for (const MouseEvent& e : rig.injector.events()) {
    EXPECT_EQ(e, (MouseEvent{e.action, MouseButton::left, std::nullopt, 1})) << "at the pointer";
  }
  engine.stop(std::nullopt);
  EXPECT_EQ(rig.log.back(), "stop -");
  EXPECT_EQ(rig.log.end()[-2], "tick 30") << "the last count reaches the owner before the stop";
}

struct DelayCase {
  const char* name;
  std::int64_t intervalMs;
  std::int64_t jitterMs;
  std::vector<std::uint32_t> draws;  // raw draws from 0 to 2 * jitter
  std::vector<std::int64_t> expected;
  friend void PrintTo(const DelayCase& c, std::ostream* os) { *os << c.name; }
};
using Delays = WithRig<::testing::TestWithParam<DelayCase>>;

TEST_P(Delays, FollowIntervalJitterAndFloors) {
  const DelayCase& c = GetParam();
  engine.intervalMs = c.intervalMs;
  engine.jitterMs = c.jitterMs;
  rig.random.script(c.draws);
  engine.start();
  for (std::size_t i = 1; i < c.expected.size(); ++i) {
    rig.tick();
  }
  EXPECT_EQ(delaysMs(*rig.timer), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Engine, Delays,
    ::testing::Values(
        DelayCase{"Fixed", 120, 0, {}, {120, 120, 120}},
        DelayCase{"IntervalRaisedTo50", 10, 0, {}, {50, 50}},
        DelayCase{"NegativeIntervalRaisedTo50", -7, 0, {}, {50}},
        DelayCase{"NegativeJitterIsNone", 120, -5, {0, 0}, {120, 120}},
        DelayCase{"JitterBelowFloorGives20", 50, 40, {0, 9, 10, 11, 80}, {20, 20, 20, 21, 90}},
        DelayCase{"PresetWithJitter", 120, 12, {0, 12, 24}, {108, 120, 132}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(EngineTest, AbsurdSettingsNeitherOverflowNorStall) {
  engine.intervalMs = std::numeric_limits<std::int64_t>::max();
  engine.jitterMs = std::numeric_limits<std::int64_t>::max();
  engine.start();
  EXPECT_GT(rig.timer->armedDelay().value(), std::chrono::hours(24 * 365));
  // A burst beyond any real setting still arms a next tick, after its clicks are meant to end.
  engine.stop(std::nullopt);
  engine.intervalMs = 120;
  engine.jitterMs = 0;
  engine.burst = std::numeric_limits<std::int64_t>::max();
  engine.maxClicks = 3;
  engine.start();
  ASSERT_TRUE(rig.tick());
  EXPECT_EQ(rig.injector.presses(), 3U);
  EXPECT_GT(rig.timer->delays().back(), std::chrono::hours(6));
}

struct BurstCase {
  std::int64_t burst;
  std::size_t clicksPerTick;
  friend void PrintTo(const BurstCase& c, std::ostream* os) { *os << "burst " << c.burst; }
};
using Bursts = WithRig<::testing::TestWithParam<BurstCase>>;

TEST_P(Bursts, PostThatManyClicksPerTickWithPausesOnlyForRealBursts) {
  engine.burst = GetParam().burst;
  engine.start();
  rig.tick();
  rig.tick();
  const std::size_t clicks = 2 * GetParam().clicksPerTick;
  EXPECT_EQ(rig.injector.presses(), clicks);
  const auto sleeps = rig.sleeper.sleeps();
  EXPECT_EQ(static_cast<std::size_t>(std::count(sleeps.begin(), sleeps.end(), 15ms)),
            GetParam().clicksPerTick >= 2 ? clicks : 0);
  // The next tick's delay starts when this tick's clicks and pauses are meant to be over.
  const auto perClick = GetParam().clicksPerTick >= 2 ? 8ms + 15ms : 8ms;
  EXPECT_EQ(rig.timer->armedDelay(), 120ms + GetParam().clicksPerTick * perClick);
}

INSTANTIATE_TEST_SUITE_P(Engine, Bursts,
                         ::testing::Values(BurstCase{-3, 1}, BurstCase{0, 1}, BurstCase{1, 1},
                                           BurstCase{2, 2}, BurstCase{10, 10}));

struct StopAfterCase {
  const char* name;
  std::int64_t maxClicks;
  std::int64_t burst;
  std::vector<std::size_t> pressesAfterTick;
  std::optional<std::string> done;
  friend void PrintTo(const StopAfterCase& c, std::ostream* os) { *os << c.name; }
};
using StopAfter = WithRig<::testing::TestWithParam<StopAfterCase>>;

TEST_P(StopAfter, NeverExceedsTheCountAndStopsAtTheCheckBeforeTheNextClick) {
  const StopAfterCase& c = GetParam();
  engine.maxClicks = c.maxClicks;
  engine.burst = c.burst;
  engine.start();
  for (std::size_t presses : c.pressesAfterTick) {
    ASSERT_TRUE(engine.running());
    ASSERT_TRUE(rig.tick());
    EXPECT_EQ(rig.injector.presses(), presses);
  }
  EXPECT_EQ(engine.running(), !c.done);
  if (!c.done) {
    return;
  }
  EXPECT_EQ(rig.log.back(), "stop " + *c.done);
  EXPECT_FALSE(rig.timer->armed());
  const auto sleeps = rig.sleeper.sleeps();
  EXPECT_EQ(std::count(sleeps.begin(), sleeps.end(), 15ms), c.burst >= 2 ? c.maxClicks : 0)
      << "no burst pause after the check that ends the run";
}

INSTANTIATE_TEST_SUITE_P(
    Engine, StopAfter,
    ::testing::Values(StopAfterCase{"Three", 3, 0, {1, 2, 3, 3}, "Done: 3 clicks."},
                      StopAfterCase{"FiveInBurstsOfThree", 5, 3, {3, 5}, "Done: 5 clicks."},
                      StopAfterCase{"Zero", 0, 0, {1, 2, 3, 4}, std::nullopt},
                      StopAfterCase{"Negative", -2, 2, {2, 4}, std::nullopt}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(EngineTest, TargetsRotateAndEachRunStartsAtTheFirstPoint) {
  engine.points.assign({A, B, C});
  engine.start();
  for (int i = 0; i < 5; ++i) {
    rig.tick();
  }
  engine.stop("Stopped");
  engine.start();
  rig.tick();
  EXPECT_EQ(rig.pressPoints(), (Targets{A, B, C, A, B, A}));
}

TEST_F(EngineTest, PointsAddedOrClearedDuringARunKeepTheRotationIndex) {
  engine.points.assign({A, B});
  engine.start();
  for (int i = 0; i < 4; ++i) {
    rig.tick();
  }
  engine.points.append(C);
  rig.tick();  // index 4 modulo 3: the second point
  engine.points.clear();
  rig.tick();  // the cursor, index unchanged
  EXPECT_EQ(engine.pointIndex(), 5);
  engine.points.append(C);
  rig.tick();
  EXPECT_EQ(rig.pressPoints(), (Targets{A, B, A, B, B, std::nullopt, C}));
}

TEST_F(EngineTest, StartWithoutTrustPromptsAndRefusesAtOnceKeepingTheLastCount) {
  engine.points.assign({A, B});
  engine.start();
  rig.tick();
  rig.tick();
  engine.stop("Stopped");
  rig.trust.setTrusted(false);
  rig.log.clear();
  engine.start();
  EXPECT_EQ(rig.log, std::vector<std::string>{kAxNeeded}) << "before start() returns";
  EXPECT_EQ(rig.trust.prompts(), 1);
  EXPECT_FALSE(engine.running());
  EXPECT_FALSE(rig.timer->armed());
  EXPECT_EQ(engine.sessionClicks(), 2);
  EXPECT_EQ(engine.pointIndex(), 2);
}

TEST_F(EngineTest, TrustTakenBackStopsARunWithTheRefusalAndIsQuietWhenIdle) {
  engine.start();
  rig.tick();
  // With the line of the desktop's own refusal.
  rig.trust.setRefusal(Refusal::notAllowed);
  rig.trust.revoke();
  EXPECT_EQ(rig.log, (std::vector<std::string>{"tick 1", "stop " + L::t("rd_needed")}));
  EXPECT_FALSE(engine.running());
  EXPECT_FALSE(rig.timer->armed());
  rig.trust.revoke();
  EXPECT_EQ(rig.log.size(), 2U);
}

TEST_F(EngineTest, StartWhileRunningAndStopWhileIdleDoNothing) {
  engine.stop("Stopped");
  EXPECT_TRUE(rig.log.empty());
  engine.start();
  engine.start();
  EXPECT_EQ(rig.trust.queries(), 1);
  EXPECT_EQ(rig.timer->delays().size(), 1U);
  engine.stop("Stopped");
  engine.stop("again");
  EXPECT_EQ(rig.log, std::vector<std::string>{"stop Stopped"});
  EXPECT_FALSE(rig.timer->armed());
}

TEST_F(EngineTest, StopDuringABurstLetsTheBurstFinishThenNothingMore) {
  engine.burst = 10;
  std::size_t downs = 0;
  rig.injector.onPost([&](const MouseEvent& e) {
    if (e.action == MouseAction::down && ++downs == 3) {
      engine.stop("Stopped");
    }
  });
  engine.start();
  rig.tick();
  EXPECT_EQ(rig.injector.presses(), 10U);
  EXPECT_FALSE(rig.timer->armed());
  EXPECT_EQ(std::count(rig.log.begin(), rig.log.end(), "stop Stopped"), 1);
}

struct PostCase {
  const char* name;
  ClickType type;
  std::int64_t burst;
  bool systemReleases;  // the injector's system can release a button after a delay on its own
  MouseButton button;
  std::vector<std::int64_t> states;
  std::vector<std::int64_t> atMs;  // when each event reaches the system, from the first
  std::vector<microseconds> pauses;
  friend void PrintTo(const PostCase& c, std::ostream* os) { *os << c.name; }
};
using Posting = WithRig<::testing::TestWithParam<PostCase>>;

// Where the system can release a button by itself, only the tick's last release is left to it:
// the events keep their times, and the worker sleeps through no hold that nothing follows.
TEST_P(Posting, PostsDownUpPairsWithClickStatesAndPauses) {
  const PostCase& c = GetParam();
  engine.clickType = c.type;
  engine.burst = c.burst;
  engine.points.assign({A});
  if (c.systemReleases) {
    rig.injector.releaseItself();
  }
  engine.start();
  rig.tick();
  const auto posted = rig.injector.posted();
  ASSERT_EQ(posted.size(), c.states.size());
  for (std::size_t i = 0; i < posted.size(); ++i) {
    const MouseAction action = i % 2 == 0 ? MouseAction::down : MouseAction::up;
    EXPECT_EQ(posted[i].event, (MouseEvent{action, c.button, A, c.states[i]})) << i;
    EXPECT_EQ(posted[i].at - posted[0].at, std::chrono::milliseconds(c.atMs[i])) << i;
  }
  EXPECT_EQ(rig.sleeper.sleeps(), c.pauses);
  EXPECT_EQ(engine.sessionClicks(), std::max<std::int64_t>(c.burst, 1))
      << "a double click counts once";
}

INSTANTIATE_TEST_SUITE_P(
    Engine, Posting,
    ::testing::Values(
        PostCase{"left", ClickType::left, 0, false, MouseButton::left, {1, 1}, {0, 8}, {8ms}},
        PostCase{"right", ClickType::right, 0, false, MouseButton::right, {1, 1}, {0, 8}, {8ms}},
        PostCase{"double",
                 ClickType::double_,
                 0,
                 false,
                 MouseButton::left,
                 {1, 1, 2, 2},
                 {0, 8, 48, 56},
                 {8ms, 40ms, 8ms}},
        PostCase{"leftReleasedBySystem",
                 ClickType::left,
                 0,
                 true,
                 MouseButton::left,
                 {1, 1},
                 {0, 8},
                 {}},
        PostCase{"doubleReleasedBySystem",
                 ClickType::double_,
                 0,
                 true,
                 MouseButton::left,
                 {1, 1, 2, 2},
                 {0, 8, 48, 56},
                 {8ms, 40ms}},
        PostCase{"burstReleasedBySystem",
                 ClickType::right,
                 2,
                 true,
                 MouseButton::right,
                 {1, 1, 1, 1},
                 {0, 8, 23, 31},
                 {8ms, 15ms, 15ms}}));

struct FailCase {
  ClickType type;
  std::int64_t burst;
  std::set<int> failingClicks;
  std::size_t posted;
  int clicks;
  std::vector<std::string> log;
  friend void PrintTo(const FailCase& c, std::ostream* os) {
    *os << rawValue(c.type) << " x" << c.burst << ", click " << *c.failingClicks.begin()
        << " fails";
  }
};
using FailedClick = WithRig<::testing::TestWithParam<FailCase>>;

// A click the injector cannot post is not counted: the run ends and says why.
TEST_P(FailedClick, EndsTheRunWithoutCountingThatClick) {
  engine.clickType = GetParam().type;
  engine.burst = GetParam().burst;
  rig.injector.failClickCalls(GetParam().failingClicks);
  engine.start();
  rig.tick();
  EXPECT_EQ(rig.injector.posted().size(), GetParam().posted);
  EXPECT_EQ(rig.injector.clickCalls(), GetParam().clicks);
  EXPECT_EQ(rig.log, GetParam().log);
  EXPECT_FALSE(engine.running());
  EXPECT_FALSE(rig.timer->armed());
}

const std::string kCannot = "stop Stopped: the click could not be made on this display.";
INSTANTIATE_TEST_SUITE_P(
    Engine, FailedClick,
    ::testing::Values(FailCase{ClickType::left, 0, {0}, 0, 1, {kCannot}},
                      FailCase{ClickType::double_, 0, {0}, 0, 1, {kCannot}},
                      FailCase{ClickType::right, 3, {1}, 2, 2, {"tick 1", kCannot}}));

TEST_F(EngineTest, TheNextTickIsArmedJustBeforeItsFirstPressAndOnlyThen) {
  engine.start();
  std::vector<bool> armedAtPost;
  rig.injector.onPost([&](const MouseEvent&) { armedAtPost.push_back(rig.timer->armed()); });
  ASSERT_TRUE(rig.tick());
  // Armed when the press is posted, so that however long posting takes, the delay counts from
  // the press plus the click's 8 ms.
  EXPECT_EQ(armedAtPost, (std::vector<bool>{true, true}));
  EXPECT_EQ(rig.timer->armedDelay(), 128ms);
  EXPECT_EQ(rig.timer->delays().size(), 2U) << "once per tick";
}

struct SendCase {
  const char* name;
  std::vector<std::int64_t> sendUs;    // how long each tick's press takes to send
  std::vector<std::int64_t> periodUs;  // between the ends of consecutive sends
  friend void PrintTo(const SendCase& c, std::ostream* os) { *os << c.name; }
};
using Sends = WithRig<::testing::TestWithParam<SendCase>>;

// Periods are measured where a send returns, as a receiver woken by it sees them: a slow send
// postpones the next tick by what it took beyond the fastest of the last 16, so a period is
// never short unless a send is faster than all of those.
TEST_P(Sends, ASlowSendPostponesTheNextTickByItsExcessOverTheUsualSend) {
  const SendCase& c = GetParam();
  std::size_t press = 0;
  rig.injector.onPost([&](const MouseEvent& e) {
    if (e.action == MouseAction::down && press < c.sendUs.size()) {
      rig.clock.advance(microseconds(c.sendUs[press++]));
    }
  });
  engine.start();
  while (press < c.sendUs.size()) {
    ASSERT_TRUE(rig.tick());
  }
  std::vector<std::chrono::nanoseconds> sent;
  for (const auto& p : rig.injector.posted()) {
    if (p.event.action == MouseAction::down) {
      sent.push_back(p.at);
    }
  }
  std::vector<std::int64_t> periods;
  for (std::size_t i = 1; i < sent.size(); ++i) {
    periods.push_back(std::chrono::duration_cast<microseconds>(sent[i] - sent[i - 1]).count());
  }
  EXPECT_EQ(periods, c.periodUs);
}

std::vector<std::int64_t> repeated(std::size_t n, std::int64_t value) {
  return std::vector<std::int64_t>(n, value);
}

std::vector<std::int64_t> joined(std::vector<std::int64_t> a, const std::vector<std::int64_t>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

INSTANTIATE_TEST_SUITE_P(
    Engine, Sends,
    ::testing::Values(
        SendCase{"Steady", {50, 50, 50}, {128000, 128000}},
        SendCase{"OneSlow", {50, 50, 150, 50, 50}, {128000, 128100, 128000, 128000}},
        // The run shifts instead of clicking sooner after a press that hung.
        SendCase{"Stall", {50, 100000, 50, 50}, {227950, 128000, 128000}},
        // A send faster than any before it cannot be foreseen.
        SendCase{"FasterAndFaster", {150, 100, 50}, {127950, 127950}},
        // Slower for good: the fast send leaves the last 16, and the usual send is the slow one.
        SendCase{"SlowerForGood", joined({50}, repeated(18, 400)),
                 joined(repeated(16, 128350), repeated(2, 128000))}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(EngineTest, CountReportsCoalesceWhileQueuedAndReachTheOwnerBeforeTheStop) {
  engine.maxClicks = 2;
  engine.burst = 3;
  engine.start();
  rig.tick();
  EXPECT_EQ(rig.log, (std::vector<std::string>{"tick 2", "stop Done: 2 clicks."}));

  // Ticks while the main thread is busy queue one report, which tells the latest count.
  rig.log.clear();
  engine.maxClicks = 0;
  engine.burst = 0;
  engine.start();
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(rig.timer->fire());
  }
  EXPECT_EQ(rig.queue.pending(), 1U);
  rig.queue.drain();
  ASSERT_TRUE(rig.tick());
  engine.stop(std::nullopt);
  EXPECT_EQ(rig.log, (std::vector<std::string>{"tick 3", "tick 4", "stop -"}));
  EXPECT_EQ(engine.sessionClicks(), 4);
}

// The count reports of twelve ticks, the main thread running its tasks after each tick: clicks
// closer than the report spacing share reports, and the first click of a run is always told.
struct ReportCase {
  const char* name;
  std::int64_t intervalMs;
  std::int64_t burst;
  std::vector<std::string> log;
};
class Reports : public WithRig<::testing::TestWithParam<ReportCase>> {};

TEST_P(Reports, ComeAboutFiveTimesASecondAtMostAndTheLastBeforeTheStop) {
  engine.intervalMs = GetParam().intervalMs;
  engine.burst = GetParam().burst;
  engine.start();
  for (int i = 0; i < 12; ++i) {
    ASSERT_TRUE(rig.tick());
  }
  engine.stop("Stopped");
  EXPECT_EQ(rig.log, GetParam().log);
}

INSTANTIATE_TEST_SUITE_P(
    Engine, Reports,
    ::testing::Values(
        // 200 ms apart or more: every click.
        ReportCase{"Every192ms",
                   192,
                   0,
                   {"tick 1", "tick 2", "tick 3", "tick 4", "tick 5", "tick 6", "tick 7", "tick 8",
                    "tick 9", "tick 10", "tick 11", "tick 12", "stop Stopped"}},
        // 128 ms: every second click; 58 ms: every fourth.
        ReportCase{"Every120ms",
                   120,
                   0,
                   {"tick 1", "tick 3", "tick 5", "tick 7", "tick 9", "tick 11", "tick 12",
                    "stop Stopped"}},
        ReportCase{"Every50ms", 50, 0, {"tick 1", "tick 5", "tick 9", "tick 12", "stop Stopped"}},
        // A burst's clicks are 23 ms apart: every ninth (read when the tick is over), and each
        // tick's last when the next tick is 200 ms off or more.
        ReportCase{"BurstsOf3Every50ms",
                   50,
                   3,
                   {"tick 3", "tick 12", "tick 21", "tick 30", "tick 36", "stop Stopped"}},
        ReportCase{"BurstsOf3Every1s",
                   1000,
                   3,
                   {"tick 3", "tick 6", "tick 9", "tick 12", "tick 15", "tick 18", "tick 21",
                    "tick 24", "tick 27", "tick 30", "tick 33", "tick 36", "stop Stopped"}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(EngineTest, TasksQueuedForADestroyedEngineDoNothing) {
  engine.maxClicks = 1;
  engine.start();
  rig.timer->fire();
  rig.timer->fire();
  ASSERT_EQ(rig.queue.pending(), 2U);
  rig.engine.reset();
  rig.queue.drain();
  EXPECT_TRUE(rig.log.empty());
}

TEST_F(EngineTest, ALateTickOfAnEarlierRunNeitherRearmsNorEndsTheNewRun) {
  engine.maxClicks = 1;
  engine.start();
  rig.tick();
  rig.timer->fire();  // its stop-after task is still queued when the user restarts
  engine.stop("Stopped");
  engine.start();
  rig.queue.drain();
  EXPECT_TRUE(engine.running());
  EXPECT_EQ(rig.log, (std::vector<std::string>{"tick 1", "stop Stopped"}));

  rig.injector.onPost([&](const MouseEvent&) {
    rig.injector.onPost(nullptr);
    engine.stop("Stopped");
    engine.start();
  });
  engine.maxClicks = 0;
  rig.tick();
  // The late tick's own arm, made just before its press, went with the stop.
  EXPECT_EQ(rig.timer->armedDelay(), 120ms) << "the restart's first delay, not the tick's next";
}

}  // namespace
}  // namespace vorrik::test
