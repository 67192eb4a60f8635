// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <mutex>

namespace vorrik::fake {

using std::chrono::nanoseconds;

// Virtual monotonic time; thread-safe.
class FakeClock {
 public:
  nanoseconds now() const {
    std::lock_guard lock(mutex_);
    return now_;
  }
  void advance(nanoseconds by) {
    std::lock_guard lock(mutex_);
    now_ += by;
  }

 private:
  mutable std::mutex mutex_;
  nanoseconds now_{0};
};

}  // namespace vorrik::fake
