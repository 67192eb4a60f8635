// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/OneShotTimer.h"
#include "platform/RandomSource.h"
#include "platform/Sleeper.h"

namespace vorrik::posix {

// How much earlier than its deadline a thread should ask to wake, learnt from its own wakes:
// each wake moves the lead one step toward the lateness it saw, so the lead settles on the
// median lateness and the median wake lands on the deadline. Lock-free; any thread.
class WakeLead {
 public:
  static constexpr std::chrono::nanoseconds kStep{5000};
  static constexpr std::chrono::nanoseconds kMax{500000};

  [[nodiscard]] std::chrono::nanoseconds lead() const {
    return std::chrono::nanoseconds(lead_.load(std::memory_order_relaxed));
  }
  // A wait meant to end at target ended at woke; wakes far off the mark (a preempted thread,
  // a deadline already past when armed) teach nothing.
  void record(std::chrono::steady_clock::time_point target,
              std::chrono::steady_clock::time_point woke);

 private:
  std::atomic<std::int64_t> lead_{0};
};

// A one-shot timer with a dedicated high-priority worker thread on CLOCK_MONOTONIC, with the
// minimum timer slack. It waits on a condition variable: no polling, no busy-waiting. It asks to
// wake early by its learnt lead, so a handler runs on its deadline rather than a wake-up later.
class WorkerTimer final : public OneShotTimer {
 public:
  WorkerTimer();
  // Cancels any armed handler, lets a running one finish and joins the worker; never call it
  // from the timer's own handler.
  ~WorkerTimer() override;
  WorkerTimer(const WorkerTimer&) = delete;
  WorkerTimer& operator=(const WorkerTimer&) = delete;

  void arm(std::chrono::nanoseconds delay, Handler handler) override;
  void cancel() override;

  // Times the worker thread has woken up, for the idle-wakeup benchmark. An armed tick costs
  // one or two wakeups and a cancel one; an idle timer wakes up never.
  std::uint64_t wakeups() const;

 private:
  void run();

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  Handler handler_;
  std::chrono::steady_clock::time_point deadline_{};
  bool quit_ = false;
  std::uint64_t wakeups_ = 0;
  WakeLead lead_;
  std::thread worker_;
};

// Pauses with clock_nanosleep on CLOCK_MONOTONIC against an absolute deadline, ending early by
// its learnt lead (at most WakeLead::kMax) so that pauses last their length at the median.
class MonotonicSleeper final : public Sleeper {
 public:
  void sleepFor(std::chrono::microseconds duration) override;

 private:
  WakeLead lead_;
};

// The C library's CSPRNG (arc4random_uniform): uniform without modulo bias.
class SystemRandom final : public RandomSource {
 public:
  std::uint32_t uniform(std::uint32_t upperBound) override;
};

}  // namespace vorrik::posix
