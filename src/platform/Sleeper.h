// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace vorrik {

// Blocking pauses on the calling thread.
class Sleeper {
 public:
  virtual ~Sleeper() = default;
  // Blocks the calling thread for at least duration.
  virtual void sleepFor(std::chrono::microseconds duration) = 0;
};

}  // namespace vorrik
