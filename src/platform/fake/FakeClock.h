// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <mutex>

namespace vorrik::fake {

using std::chrono::nanoseconds;

// Virtual monotonic time; thread-safe.
class FakeClock {
 public:
  nanoseconds now() const;
  void advance(nanoseconds by);

 private:
  mutable std::mutex mutex_;
  nanoseconds now_{0};
};

}  // namespace vorrik::fake
