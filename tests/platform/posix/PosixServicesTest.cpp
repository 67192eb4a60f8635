// SPDX-License-Identifier: MIT
// Time bounds here are deliberately loose: they tell "ran" from "never ran", not how precisely.
#include <gtest/gtest.h>
#include <pthread.h>
#include <csignal>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/posix/PosixServices.h"

namespace vorrik::posix {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
const std::thread::id testThread = std::this_thread::get_id();

// Counts handler runs; the test thread waits for a count without polling.
class Runs {
 public:
  int hit() {
    std::lock_guard lock(mutex_);
    changed_.notify_all();
    return ++count_;
  }
  bool waitFor(int n) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, 10s, [&] { return count_ >= n; });
  }
  int count() {
    std::lock_guard lock(mutex_);
    return count_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int count_ = 0;
};

// A handler that re-arms 40 times, then arms once more and cancels that from inside itself.
TEST(WorkerTimer, RunsEachHandlerOnceOnItsOwnThreadNeverBeforeItsDeadline) {
  WorkerTimer timer;
  Runs runs;
  Runs cancelled;
  Clock::duration earliest = Clock::duration::max();
  Clock::time_point due;
  bool onThisThread = false;
  std::function<void()> again = [&] {
    earliest = std::min(earliest, Clock::now() - due);
    onThisThread = onThisThread || std::this_thread::get_id() == testThread;
    due = Clock::now() + 2ms;
    if (runs.hit() < 40) {
      timer.arm(2ms, again);
      return;
    }
    timer.arm(1ms, [&] { cancelled.hit(); });
    timer.cancel();
  };
  due = Clock::now() + 2ms;
  timer.arm(2ms, again);
  ASSERT_TRUE(runs.waitFor(40));
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(runs.count(), 40);
  EXPECT_EQ(cancelled.count(), 0);
  EXPECT_GE(earliest, Clock::duration::zero());
  EXPECT_FALSE(onThisThread);
}

TEST(WorkerTimer, CancelledAndReplacedHandlersNeverRun) {
  WorkerTimer timer;
  Runs dropped;
  Runs kept;
  timer.arm(200ms, [&] { dropped.hit(); });
  timer.cancel();
  timer.arm(200ms, [&] { dropped.hit(); });
  timer.arm(300ms, [&] { kept.hit(); });
  ASSERT_TRUE(kept.waitFor(1));
  std::this_thread::sleep_for(200ms);
  EXPECT_EQ(dropped.count(), 0);
}

// The worker sleeps toward the first deadline; only a wake from arm() lets the second run in
// time to be seen.
TEST(WorkerTimer, AnEarlierArmFromAnotherThreadWakesTheSleepingWorker) {
  WorkerTimer timer;
  Runs late;
  Runs soon;
  timer.arm(60s, [&] { late.hit(); });
  std::this_thread::sleep_for(20ms);  // lets the worker go to sleep; passes either way
  timer.arm(1ms, [&] { soon.hit(); });
  EXPECT_TRUE(soon.waitFor(1));
  EXPECT_EQ(late.count(), 0);
}

TEST(WorkerTimer, DestructionCancelsAnArmedHandlerAndWaitsForARunningOne) {
  Runs armed;
  const auto begin = Clock::now();
  {
    WorkerTimer timer;
    timer.arm(30s, [&] { armed.hit(); });
  }
  EXPECT_LT(Clock::now() - begin, 10s);
  EXPECT_EQ(armed.count(), 0);

  Runs started;
  std::atomic<bool> finished{false};
  {
    WorkerTimer timer;
    timer.arm(1ms, [&] {
      started.hit();
      std::this_thread::sleep_for(100ms);
      finished = true;
    });
    ASSERT_TRUE(started.waitFor(1));
  }
  EXPECT_TRUE(finished);
}

TEST(WorkerTimer, AnIdleTimerNeverWakesUp) {
  WorkerTimer timer;
  Runs runs;
  timer.arm(1ms, [&] { runs.hit(); });
  ASSERT_TRUE(runs.waitFor(1));
  timer.arm(30s, [] {});
  timer.cancel();
  std::this_thread::sleep_for(50ms);
  const std::uint64_t before = timer.wakeups();
  std::this_thread::sleep_for(300ms);
  EXPECT_EQ(timer.wakeups(), before);
}

TEST(MonotonicSleeper, SleepsItsDurationEvenWhenSignalled) {
  struct sigaction ignore {};
  ignore.sa_handler = [](int) {};  // no SA_RESTART: the sleep returns EINTR
  struct sigaction previous {};
  sigaction(SIGUSR1, &ignore, &previous);
  MonotonicSleeper sleeper;
  Clock::duration slept{};
  std::thread sleeping([&] {
    const auto begin = Clock::now();
    sleeper.sleepFor(150ms);
    slept = Clock::now() - begin;
  });
  std::this_thread::sleep_for(30ms);
  pthread_kill(sleeping.native_handle(), SIGUSR1);
  sleeping.join();
  sigaction(SIGUSR1, &previous, nullptr);
  // Never early, however the signal interrupted it.
  EXPECT_GE(slept, 150ms);

  const auto begin = Clock::now();
  sleeper.sleepFor(0us);
  sleeper.sleepFor(-5s);
  EXPECT_LT(Clock::now() - begin, 1s);
}

TEST(WakeLead, SettlesWhereFourWakesInFiveAreEarlyWithinItsBounds) {
  using namespace std::chrono;
  const Clock::time_point target{};
  const auto woke = [&](nanoseconds late) { return target + late; };
  WakeLead lead;
  // Asked to wake `lead` early, the thread wakes 0, 10, ... 90 us after that in turn: the lead
  // climbs to about the 80th percentile of that lateness and stays there.
  for (int i = 0; i < 1000; ++i) {
    const nanoseconds lateness = microseconds(10 * (i % 10));
    lead.record(target, woke(lateness - lead.lead()));
  }
  EXPECT_NEAR(duration_cast<microseconds>(lead.lead()).count(), 80, 12);
  // A preempted wake teaches nothing.
  const nanoseconds before = lead.lead();
  lead.record(target, woke(50ms));
  EXPECT_EQ(lead.lead(), before);
  // Never beyond its bounds, however long the streak.
  for (int i = 0; i < 1000; ++i) {
    lead.record(target, woke(500us));
  }
  EXPECT_EQ(lead.lead(), WakeLead::kMax);
  for (int i = 0; i < 1000; ++i) {
    lead.record(target, woke(-500us));
  }
  EXPECT_EQ(lead.lead(), nanoseconds::zero());
}

// The spread is checked in TargetsTest; here the bounds that would divide by zero.
TEST(SystemRandom, EmptyAndSingleRangesGiveZero) {
  SystemRandom random;
  EXPECT_EQ(random.uniform(0), 0U);
  EXPECT_EQ(random.uniform(1), 0U);
}

}  // namespace
}  // namespace vorrik::posix
