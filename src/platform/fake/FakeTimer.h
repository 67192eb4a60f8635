// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "platform/OneShotTimer.h"
#include "platform/fake/FakeClock.h"

namespace vorrik::fake {

using std::chrono::nanoseconds;

// A timer that fires only when the test says so, on the test's thread, at its deadline: the
// clock when armed plus the delay.
class FakeTimer final : public OneShotTimer {
 public:
  explicit FakeTimer(FakeClock& clock) : clock_(clock) {}
  void arm(nanoseconds delay, Handler handler) override {
    std::lock_guard lock(mutex_);
    handler_ = std::move(handler);
    delays_.push_back(delay);
    deadline_ = clock_.now() + delay;
  }
  void cancel() override {
    std::lock_guard lock(mutex_);
    handler_ = nullptr;
  }

  bool armed() const { return armedDelay().has_value(); }
  // The delay of the armed handler.
  std::optional<nanoseconds> armedDelay() const {
    std::lock_guard lock(mutex_);
    return handler_ ? std::optional(delays_.back()) : std::nullopt;
  }
  // Every delay ever armed, in order.
  std::vector<nanoseconds> delays() const {
    std::lock_guard lock(mutex_);
    return delays_;
  }
  // Advances the clock to the armed deadline, unless it is past, and runs the handler; false
  // when nothing is armed.
  bool fire() {
    std::unique_lock lock(mutex_);
    if (!handler_) {
      return false;
    }
    const Handler handler = std::exchange(handler_, nullptr);
    const nanoseconds deadline = deadline_;
    lock.unlock();
    clock_.advance(std::max(deadline - clock_.now(), nanoseconds::zero()));
    handler();
    return true;
  }

 private:
  FakeClock& clock_;
  mutable std::mutex mutex_;
  Handler handler_;
  std::vector<nanoseconds> delays_;
  nanoseconds deadline_{};
};

}  // namespace vorrik::fake
