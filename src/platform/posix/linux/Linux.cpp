// SPDX-License-Identifier: MIT
// The Linux side of the POSIX services: timer slack, real-time priority through the kernel or
// RealtimeKit, the C library's CSPRNG, and the timer worker's sleep on a futex.
#include <dbus/dbus.h>
#include <linux/futex.h>
#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string>
#include <system_error>

#include "platform/posix/PosixServices.h"
#include "platform/posix/System.h"

namespace vorrik::posix {
namespace {

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

}  // namespace

namespace system {

void minimiseTimerSlack() {
  prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
}

std::uint32_t secureUniform(std::uint32_t upperBound) {
  return arc4random_uniform(upperBound);
}

// The kernel reads the word itself, so it must be a plain 32-bit integer in memory.
static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t) &&
              std::atomic<std::uint32_t>::is_always_lock_free);

void waitWhile(const std::atomic<std::uint32_t>& word, std::uint32_t seen,
               std::chrono::steady_clock::time_point until) {
  // FUTEX_WAIT_BITSET takes an absolute time on CLOCK_MONOTONIC, the steady clock's.
  const auto since = until.time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
  timespec deadline{};
  deadline.tv_sec = static_cast<time_t>(seconds.count());
  deadline.tv_nsec = static_cast<long>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(since - seconds).count());
  const bool limited = until != std::chrono::steady_clock::time_point::max();
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the futex call has no other form
  syscall(SYS_futex, &word, FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG, seen,
          limited ? &deadline : nullptr, nullptr, FUTEX_BITSET_MATCH_ANY);
}

void wakeWaiter(const std::atomic<std::uint32_t>& word) {
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the futex call has no other form
  syscall(SYS_futex, &word, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, 1, nullptr, nullptr, 0);
}

}  // namespace system

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

}  // namespace vorrik::posix
