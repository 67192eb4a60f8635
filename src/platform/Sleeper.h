// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace vorrik {

// Blocking pauses on the calling thread, on the monotonic clock that timers use.
class Sleeper {
 public:
  virtual ~Sleeper() = default;
  // Blocks the calling thread for at least duration.
  virtual void sleepFor(std::chrono::microseconds duration) = 0;
  // The time on that clock, from an origin of its own.
  [[nodiscard]] virtual std::chrono::nanoseconds now() const = 0;
};

}  // namespace vorrik
