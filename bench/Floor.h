// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>

#include "Stats.h"

namespace vorrik::bench {

// How late a thread scheduled like the engine's worker (SCHED_FIFO at the lowest priority when
// allowed, minimal timer slack) wakes from an absolute clock_nanosleep: the floor under every
// timing figure on this machine.
struct WakeFloor {
  std::size_t wakeups = 0;
  Spread late;
  double maxLateMs = 0;
  bool realtime = false;
};

// Sleeps count times, period apart, on a thread of its own, and reports the lateness.
WakeFloor measureWakeFloor(std::size_t count, std::chrono::milliseconds period);

}  // namespace vorrik::bench
