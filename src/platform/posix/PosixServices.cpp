// SPDX-License-Identifier: MIT
#include "platform/posix/PosixServices.h"

#include <algorithm>

#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>
#include <cstdlib>
#include <ctime>

#include <cerrno>
#include <utility>

namespace vorrik::posix {
namespace {

// Asks for the kernel's tightest timer slack and real-time priority for the calling thread.
// Without the privilege for SCHED_FIFO the thread keeps its normal policy; that is not an error.
void tuneTimerThread() {
  prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
  sched_param param{};
  param.sched_priority = sched_get_priority_min(SCHED_FIFO);
  pthread_setschedparam(pthread_self(), SCHED_FIFO, &param);
}

}  // namespace

void WakeLead::record(std::chrono::steady_clock::time_point target,
                      std::chrono::steady_clock::time_point woke) {
  const std::chrono::nanoseconds late = woke - target;
  if (late > 4 * kMax || late < -4 * kMax) {
    return;
  }
  const std::chrono::nanoseconds current = lead();
  const std::chrono::nanoseconds next =
      std::clamp(late > std::chrono::nanoseconds::zero() ? current + kStep : current - kStep,
                 std::chrono::nanoseconds::zero(), kMax);
  lead_.store(next.count(), std::memory_order_relaxed);
}

WorkerTimer::WorkerTimer() : worker_([this] { run(); }) {}

WorkerTimer::~WorkerTimer() {
  {
    std::lock_guard lock(mutex_);
    quit_ = true;
    handler_ = nullptr;
  }
  changed_.notify_all();
  worker_.join();
}

void WorkerTimer::arm(std::chrono::nanoseconds delay, Handler handler) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point now = Clock::now();
  // Saturate rather than overflow: a delay beyond the clock's range means "never".
  const Clock::time_point deadline =
      delay > Clock::time_point::max() - now ? Clock::time_point::max() : now + delay;
  Handler replaced;
  {
    std::lock_guard lock(mutex_);
    replaced = std::exchange(handler_, std::move(handler));
    deadline_ = deadline;
  }
  changed_.notify_all();
  // `replaced` dies here, outside the lock, in case its captures do work when destroyed.
}

void WorkerTimer::cancel() {
  Handler cancelled;
  {
    std::lock_guard lock(mutex_);
    cancelled = std::exchange(handler_, nullptr);
  }
  // Wake the worker now so that it goes back to an untimed wait instead of waking at the old
  // deadline for nothing.
  changed_.notify_all();
}

std::uint64_t WorkerTimer::wakeups() const {
  std::lock_guard lock(mutex_);
  return wakeups_;
}

void WorkerTimer::run() {
  tuneTimerThread();
  std::unique_lock lock(mutex_);
  while (!quit_) {
    if (!handler_) {
      changed_.wait(lock);
      ++wakeups_;
      continue;
    }
    const auto deadline = deadline_;
    const auto now = std::chrono::steady_clock::now();
    const auto wake = deadline - lead_.lead();
    if (now < wake) {
      // libstdc++ waits with pthread_cond_clockwait on CLOCK_MONOTONIC for steady_clock.
      changed_.wait_until(lock, wake);
      ++wakeups_;
      continue;
    }
    lead_.record(deadline, now);
    Handler due = std::exchange(handler_, nullptr);
    lock.unlock();
    due();
    due = nullptr;
    lock.lock();
  }
}

void MonotonicSleeper::sleepFor(std::chrono::microseconds duration) {
  if (duration.count() <= 0) {
    return;
  }
  using Clock = std::chrono::steady_clock;  // CLOCK_MONOTONIC in libstdc++
  const Clock::time_point target = Clock::now() + duration;
  const auto wake = std::chrono::duration_cast<std::chrono::nanoseconds>(
      (target - lead_.lead()).time_since_epoch());
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wake);
  timespec deadline{};
  deadline.tv_sec = static_cast<time_t>(seconds.count());
  deadline.tv_nsec = static_cast<long>((wake - seconds).count());
  // An absolute deadline makes a signal-interrupted sleep resume without drifting.
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
  }
  lead_.record(target, Clock::now());
}

std::uint32_t SystemRandom::uniform(std::uint32_t upperBound) {
  if (upperBound <= 1) {
    return 0;
  }
  return arc4random_uniform(upperBound);
}

}  // namespace vorrik::posix
