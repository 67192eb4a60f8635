// SPDX-License-Identifier: MIT
#include "Floor.h"

#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>

#include <algorithm>
#include <cerrno>
#include <thread>
#include <vector>

#include "Clock.h"

namespace vorrik::bench {

WakeFloor measureWakeFloor(std::size_t count, std::chrono::milliseconds period) {
  WakeFloor floor;
  std::vector<std::chrono::nanoseconds> late;
  late.reserve(count);
  std::thread sleeper([&] {
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    sched_param param{};
    param.sched_priority = sched_get_priority_min(SCHED_FIFO);
    floor.realtime = pthread_setschedparam(pthread_self(), SCHED_FIFO, &param) == 0;
    auto deadline = monotonicNow();
    for (std::size_t i = 0; i < count; ++i) {
      deadline += period;
      const auto whole = std::chrono::duration_cast<std::chrono::seconds>(deadline);
      const timespec at{static_cast<time_t>(whole.count()),
                        static_cast<long>((deadline - whole).count())};
      while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr) == EINTR) {
      }
      late.push_back(monotonicNow() - deadline);
    }
  });
  sleeper.join();
  floor.wakeups = late.size();
  floor.late = spreadOf(late);
  if (!late.empty()) {
    floor.maxLateMs =
        std::chrono::duration<double, std::milli>(*std::max_element(late.begin(), late.end()))
            .count();
  }
  return floor;
}

}  // namespace vorrik::bench
