// SPDX-License-Identifier: MIT
#include "platform/posix/PosixServices.h"

#include <dbus/dbus.h>
#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>
#include <cstdlib>
#include <ctime>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <mutex>
#include <system_error>
#include <utility>

namespace vorrik::posix {
namespace {

using Clock = std::chrono::steady_clock;  // CLOCK_MONOTONIC in libstdc++

// RealtimeKit refuses processes whose real-time threads could run unbounded; it accepts a
// hard RLIMIT_RTTIME up to 200 ms of CPU without a blocking call. A click tick blocks every few
// milliseconds.
constexpr rlim_t kRealtimeCpuBudgetUs = 200000;

// Asks RealtimeKit to move thread (a kernel thread id of this process) to SCHED_FIFO priority.
bool askRealtimeKit(pid_t thread, int priority, std::string& why) {
  rlimit budget{};
  if (getrlimit(RLIMIT_RTTIME, &budget) == 0 &&
      (budget.rlim_max == RLIM_INFINITY || budget.rlim_max > kRealtimeCpuBudgetUs)) {
    budget.rlim_cur = kRealtimeCpuBudgetUs;
    budget.rlim_max = kRealtimeCpuBudgetUs;
    if (setrlimit(RLIMIT_RTTIME, &budget) != 0) {
      why = "cannot limit RLIMIT_RTTIME";
      return false;
    }
  }
  DBusError error;
  dbus_error_init(&error);
  // A private connection, closed again below: nothing else in the process shares it.
  DBusConnection* bus = dbus_bus_get_private(DBUS_BUS_SYSTEM, &error);
  if (bus == nullptr) {
    why = error.message != nullptr ? error.message : "no system bus";
    dbus_error_free(&error);
    return false;
  }
  dbus_connection_set_exit_on_disconnect(bus, FALSE);
  DBusMessage* call =
      dbus_message_new_method_call("org.freedesktop.RealtimeKit1", "/org/freedesktop/RealtimeKit1",
                                   "org.freedesktop.RealtimeKit1", "MakeThreadRealtime");
  bool granted = false;
  if (call == nullptr) {
    why = "out of memory";
  } else {
    const auto id = static_cast<dbus_uint64_t>(thread);
    const auto level = static_cast<dbus_uint32_t>(priority);
    dbus_message_append_args(call, DBUS_TYPE_UINT64, &id, DBUS_TYPE_UINT32, &level,
                             DBUS_TYPE_INVALID);
    DBusMessage* reply = dbus_connection_send_with_reply_and_block(bus, call, 2000, &error);
    if (reply == nullptr) {
      why = error.message != nullptr ? error.message : "no reply";
      dbus_error_free(&error);
    } else {
      granted = true;
      dbus_message_unref(reply);
    }
    dbus_message_unref(call);
  }
  dbus_connection_close(bus);
  dbus_connection_unref(bus);
  return granted;
}

// The tightest timer slack and real-time priority for a timing thread.
RealtimeGrant tuneTimerThread() {
  prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
  std::string detail;
  return makeThreadRealtime(detail);
}

// Waits for `until` on a thread that woke at most WakeLead::kMax before it.
void spinUntil(Clock::time_point until) {
  while (Clock::now() < until) {
  }
}

}  // namespace

RealtimeGrant makeThreadRealtime(std::string& detail) {
  sched_param param{};
  param.sched_priority = sched_get_priority_min(SCHED_FIFO);
  const int direct = pthread_setschedparam(pthread_self(), SCHED_FIFO, &param);
  if (direct == 0) {
    detail = "SCHED_FIFO granted directly";
    return RealtimeGrant::direct;
  }
  std::string why;
  if (askRealtimeKit(gettid(), param.sched_priority, why)) {
    detail = "SCHED_FIFO granted by RealtimeKit";
    return RealtimeGrant::realtimeKit;
  }
  detail = std::string("SCHED_FIFO refused (") +
           std::error_code(direct, std::generic_category()).message() + "), RealtimeKit refused (" +
           why + ")";
  static std::once_flag told;
  std::call_once(told, [&] {
    std::fprintf(stderr,
                 "vorrik: no real-time priority for the click timer: %s; running at "
                 "normal priority\n",
                 detail.c_str());
  });
  return RealtimeGrant::none;
}

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
  {
    std::lock_guard lock(mutex_);
    quit_ = true;
    handler_ = nullptr;
  }
  changed_.notify_all();
  worker_.join();
}

void WorkerTimer::arm(std::chrono::nanoseconds delay, Handler handler) {
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
      changed_.wait(lock);
      ++wakeups_;
      continue;
    }
    const auto deadline = deadline_;
    const auto now = Clock::now();
    const auto wake = deadline - lead_.lead();
    if (now < wake) {
      // libstdc++ waits with pthread_cond_clockwait on CLOCK_MONOTONIC for steady_clock.
      changed_.wait_until(lock, options_.spin ? wake : deadline);
      ++wakeups_;
      continue;
    }
    lead_.record(deadline, now);
    if (now < deadline) {
      if (!options_.spin) {
        changed_.wait_until(lock, deadline);
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

void MonotonicSleeper::sleepFor(std::chrono::microseconds duration) {
  if (duration.count() <= 0) {
    return;
  }
  const Clock::time_point target = Clock::now() + duration;
  const Clock::time_point early = spin_ ? target - lead_.lead() : target;
  const auto wake = std::chrono::duration_cast<std::chrono::nanoseconds>(early.time_since_epoch());
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wake);
  timespec deadline{};
  deadline.tv_sec = static_cast<time_t>(seconds.count());
  deadline.tv_nsec = static_cast<long>((wake - seconds).count());
  // An absolute deadline makes a signal-interrupted sleep resume without drifting.
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
  }
  if (spin_) {
    lead_.record(target, Clock::now());
    spinUntil(target);
  }
}

std::uint32_t SystemRandom::uniform(std::uint32_t upperBound) {
  if (upperBound <= 1) {
    return 0;
  }
  return arc4random_uniform(upperBound);
}

}  // namespace vorrik::posix
