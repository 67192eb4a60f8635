// SPDX-License-Identifier: MIT
#include "platform/posix/PosixServices.h"

#include <cerrno>
#include <ctime>

#include <algorithm>
#include <mutex>
#include <utility>

#include "platform/posix/System.h"

namespace vorrik::posix {
namespace {

using Clock = std::chrono::steady_clock;  // CLOCK_MONOTONIC in libstdc++

// The tightest timer slack and real-time priority for a timing thread.
RealtimeGrant tuneTimerThread() {
  system::minimiseTimerSlack();
  std::string detail;
  return makeThreadRealtime(detail);
}

// Waits for `until` on a thread that woke at most WakeLead::kMax before it.
void spinUntil(Clock::time_point until) {
  while (Clock::now() < until) {
  }
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
      std::clamp(late > std::chrono::nanoseconds::zero() ? current + 4 * kStep : current - kStep,
                 std::chrono::nanoseconds::zero(), kMax);
  lead_.store(next.count(), std::memory_order_relaxed);
}

WorkerTimer::WorkerTimer(Options options) : options_(options), worker_([this] { run(); }) {}

WorkerTimer::~WorkerTimer() {
  std::unique_lock lock(mutex_);
  quit_ = true;
  handler_ = nullptr;
  signal(std::move(lock));
  worker_.join();
}

void WorkerTimer::arm(std::chrono::nanoseconds delay, Handler handler) {
  const Clock::time_point now = Clock::now();
  // Saturate rather than overflow: a delay beyond the clock's range means "never".
  const Clock::time_point deadline =
      delay > Clock::time_point::max() - now ? Clock::time_point::max() : now + delay;
  std::unique_lock lock(mutex_);
  Handler replaced = std::exchange(handler_, std::move(handler));
  deadline_ = deadline;
  signal(std::move(lock));
  // `replaced` dies here, outside the lock, in case its captures do work when destroyed.
}

void WorkerTimer::cancel() {
  std::unique_lock lock(mutex_);
  Handler cancelled = std::exchange(handler_, nullptr);
  // Wake the worker now so that it goes back to an untimed wait instead of waking at the old
  // deadline for nothing.
  signal(std::move(lock));
}

std::uint64_t WorkerTimer::wakeups() const {
  std::lock_guard lock(mutex_);
  return wakeups_;
}

RealtimeGrant WorkerTimer::realtime() const {
  std::unique_lock lock(mutex_);
  tuned_.wait(lock, [this] { return realtime_.has_value(); });
  return *realtime_;
}

void WorkerTimer::run() {
  const RealtimeGrant grant = tuneTimerThread();
  std::unique_lock lock(mutex_);
  realtime_ = grant;
  tuned_.notify_all();
  while (!quit_) {
    if (!handler_) {
      sleep(lock, Clock::time_point::max());
      ++wakeups_;
      continue;
    }
    const auto deadline = deadline_;
    const auto now = Clock::now();
    const auto wake = deadline - lead_.lead();
    if (now < wake) {
      sleep(lock, options_.spin ? wake : deadline);
      ++wakeups_;
      continue;
    }
    lead_.record(deadline, now);
    if (now < deadline) {
      if (!options_.spin) {
        sleep(lock, deadline);
        ++wakeups_;
        continue;
      }
      // Within the lead of the deadline: spin the rest, unless an arm or cancel meanwhile
      // changed what is due.
      lock.unlock();
      spinUntil(deadline);
      lock.lock();
      if (!handler_ || deadline_ != deadline) {
        continue;
      }
    }
    Handler due = std::exchange(handler_, nullptr);
    lock.unlock();
    due();
    due = nullptr;
    lock.lock();
  }
}

void WorkerTimer::sleep(std::unique_lock<std::mutex>& lock, Clock::time_point until) {
  const std::uint32_t seen = changes_.load();
  sleeping_ = true;
  lock.unlock();
  system::waitWhile(changes_, seen, until);
  lock.lock();
  sleeping_ = false;
}

void WorkerTimer::signal(std::unique_lock<std::mutex> lock) {
  changes_.fetch_add(1);
  // The worker's own arm, from a handler, finds it awake and costs no system call.
  const bool wake = sleeping_;
  lock.unlock();
  if (wake) {
    system::wakeWaiter(changes_);
  }
}

void MonotonicSleeper::sleepFor(std::chrono::microseconds duration) {
  if (duration.count() <= 0) {
    return;
  }
  const Clock::time_point target = Clock::now() + duration;
  const auto wake = std::chrono::duration_cast<std::chrono::nanoseconds>(target.time_since_epoch());
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wake);
  timespec deadline{};
  deadline.tv_sec = static_cast<time_t>(seconds.count());
  deadline.tv_nsec = static_cast<long>((wake - seconds).count());
  // An absolute deadline makes a signal-interrupted sleep resume without drifting.
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
  }
}

std::chrono::nanoseconds MonotonicSleeper::now() const {
  return Clock::now().time_since_epoch();
}

std::uint32_t SystemRandom::uniform(std::uint32_t upperBound) {
  if (upperBound <= 1) {
    return 0;
  }
  return system::secureUniform(upperBound);
}

}  // namespace vorrik::posix
