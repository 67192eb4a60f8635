// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <ctime>

namespace vorrik::bench {

// A reading of clock (CLOCK_MONOTONIC, or a thread's CPU clock) as a duration since its epoch.
inline std::chrono::nanoseconds readClock(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

// CLOCK_MONOTONIC now, the clock every press, post and deadline of the benchmark is read on.
inline std::chrono::nanoseconds monotonicNow() {
  return readClock(CLOCK_MONOTONIC);
}

}  // namespace vorrik::bench
