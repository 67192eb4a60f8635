// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/OneShotTimer.h"
#include "platform/fake/FakeClock.h"

namespace vorrik::fake {

using std::chrono::nanoseconds;

// A timer that fires only when the test says so, on the test's thread.
class FakeTimer final : public OneShotTimer {
 public:
  explicit FakeTimer(FakeClock& clock) : clock_(clock) {}
  void arm(nanoseconds delay, Handler handler) override;
  void cancel() override;

  bool armed() const;
  // The delay of the armed handler.
  std::optional<nanoseconds> armedDelay() const;
  // Every delay ever armed, in order.
  std::vector<nanoseconds> delays() const;
  int cancels() const;
  // Advances the clock by the armed delay and runs the handler; false when nothing is armed.
  bool fire();

 private:
  FakeClock& clock_;
  mutable std::mutex mutex_;
  Handler handler_;
  nanoseconds delay_{0};
  std::vector<nanoseconds> delays_;
  int cancels_ = 0;
};

}  // namespace vorrik::fake
