// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <mutex>
#include <vector>

#include "platform/Sleeper.h"
#include "platform/fake/FakeClock.h"

namespace vorrik::fake {

using std::chrono::microseconds;

class FakeSleeper final : public Sleeper {
 public:
  explicit FakeSleeper(FakeClock& clock) : clock_(clock) {}
  void sleepFor(microseconds duration) override;
  std::vector<microseconds> sleeps() const;

 private:
  FakeClock& clock_;
  mutable std::mutex mutex_;
  std::vector<microseconds> sleeps_;
};

}  // namespace vorrik::fake
