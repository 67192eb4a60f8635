// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "platform/OneShotTimer.h"
#include "platform/RandomSource.h"
#include "platform/Sleeper.h"

namespace vorrik::posix {

// How the calling thread got real-time scheduling, if it did.
enum class RealtimeGrant { direct, realtimeKit, none };

// Asks for SCHED_FIFO at the lowest priority for the calling thread: directly, and when that is
// refused, from RealtimeKit on the system bus, the way desktop audio threads get it. When both
// refuse, the thread keeps its normal policy and the first refusal in the process is reported
// once on stderr; detail says what each side answered.
RealtimeGrant makeThreadRealtime(std::string& detail);

// How much earlier than its deadline a thread should ask to wake, learnt from its own wakes.
// Each late wake moves the lead up four steps and each early one down one step, so the lead
// settles where about four wakes in five land before the deadline; the thread then spins the
// rest of the way. Bounded by kMax, which also bounds that spin. Lock-free; any thread.
class WakeLead {
 public:
  static constexpr std::chrono::nanoseconds kStep{2000};
  static constexpr std::chrono::nanoseconds kMax{150000};

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

// A one-shot timer with a dedicated real-time worker thread (see makeThreadRealtime) on
// CLOCK_MONOTONIC, with the minimum timer slack. Idle, it sleeps with no timeout. Armed, it wakes
// early by its learnt lead and spins the last stretch (at most WakeLead::kMax), so that a handler
// starts on its deadline and never before it.
class WorkerTimer final : public OneShotTimer {
 public:
  // Departures from the defaults, for the benchmark's comparisons.
  struct Options {
    bool spin = true;  // false: no early wake and no spin, only the deadline itself
  };
  WorkerTimer() : WorkerTimer(Options{}) {}
  explicit WorkerTimer(Options options);
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
  // How the worker got real-time priority; waits until the worker has asked.
  RealtimeGrant realtime() const;

 private:
  void run();
  // Sleeps, with lock released, until a change is signalled or until `until`.
  void sleep(std::unique_lock<std::mutex>& lock, std::chrono::steady_clock::time_point until);
  // Signals a change made under lock (then released); wakes the worker only if it sleeps.
  void signal(std::unique_lock<std::mutex> lock);

  mutable std::mutex mutex_;
  // Bumped at each change, under mutex_; the worker sleeps on it. Not a condition variable:
  // glibc's takes the mutex back as contended after each wait, one more system call per tick.
  std::atomic<std::uint32_t> changes_{0};
  bool sleeping_ = false;
  Handler handler_;
  std::chrono::steady_clock::time_point deadline_{};
  bool quit_ = false;
  std::uint64_t wakeups_ = 0;
  std::optional<RealtimeGrant> realtime_;
  mutable std::condition_variable tuned_;
  const Options options_;
  WakeLead lead_;
  std::thread worker_;
};

// Pauses with clock_nanosleep on CLOCK_MONOTONIC against an absolute deadline, so that a pause
// never ends before its length. It does not spin as the timer does: the pauses inside a click
// are timed by no receiver, and periods count from each press.
class MonotonicSleeper final : public Sleeper {
 public:
  void sleepFor(std::chrono::microseconds duration) override;
  [[nodiscard]] std::chrono::nanoseconds now() const override;
};

// The C library's CSPRNG (arc4random_uniform): uniform without modulo bias.
class SystemRandom final : public RandomSource {
 public:
  std::uint32_t uniform(std::uint32_t upperBound) override;
};

}  // namespace vorrik::posix
