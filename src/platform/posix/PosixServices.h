// SPDX-License-Identifier: MIT
#pragma once

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

// A one-shot timer with a dedicated high-priority worker thread on CLOCK_MONOTONIC, with the
// minimum timer slack. It waits on a condition variable: no polling, no busy-waiting.
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
  std::thread worker_;
};

// Pauses with clock_nanosleep on CLOCK_MONOTONIC against an absolute deadline.
class MonotonicSleeper final : public Sleeper {
 public:
  void sleepFor(std::chrono::microseconds duration) override;
};

// The C library's CSPRNG (arc4random_uniform): uniform without modulo bias.
class SystemRandom final : public RandomSource {
 public:
  std::uint32_t uniform(std::uint32_t upperBound) override;
};

}  // namespace vorrik::posix
