// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <mutex>
#include <vector>

#include "platform/Sleeper.h"
#include "platform/fake/FakeClock.h"

namespace vorrik::fake {

using std::chrono::microseconds;

// Records each pause and advances the fake clock by it instead of sleeping.
class FakeSleeper final : public Sleeper {
 public:
  explicit FakeSleeper(FakeClock& clock) : clock_(clock) {}
  void sleepFor(microseconds duration) override {
    {
      std::lock_guard lock(mutex_);
      sleeps_.push_back(duration);
    }
    clock_.advance(duration);
  }
  [[nodiscard]] nanoseconds now() const override { return clock_.now(); }
  std::vector<microseconds> sleeps() const {
    std::lock_guard lock(mutex_);
    return sleeps_;
  }

 private:
  FakeClock& clock_;
  mutable std::mutex mutex_;
  std::vector<microseconds> sleeps_;
};

}  // namespace vorrik::fake
