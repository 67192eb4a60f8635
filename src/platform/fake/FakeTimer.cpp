// SPDX-License-Identifier: MIT
#include "platform/fake/FakeTimer.h"

#include <utility>

namespace vorrik::fake {

void FakeTimer::arm(nanoseconds delay, Handler handler) {
  std::lock_guard lock(mutex_);
  handler_ = std::move(handler);
  delay_ = delay;
  delays_.push_back(delay);
}

void FakeTimer::cancel() {
  std::lock_guard lock(mutex_);
  handler_ = nullptr;
  ++cancels_;
}

bool FakeTimer::armed() const {
  std::lock_guard lock(mutex_);
  return static_cast<bool>(handler_);
}

std::optional<nanoseconds> FakeTimer::armedDelay() const {
  std::lock_guard lock(mutex_);
  if (!handler_) {
    return std::nullopt;
  }
  return delay_;
}

std::vector<nanoseconds> FakeTimer::delays() const {
  std::lock_guard lock(mutex_);
  return delays_;
}

int FakeTimer::cancels() const {
  std::lock_guard lock(mutex_);
  return cancels_;
}

bool FakeTimer::fire() {
  Handler handler;
  nanoseconds delay{};
  {
    std::lock_guard lock(mutex_);
    if (!handler_) {
      return false;
    }
    handler = std::exchange(handler_, nullptr);
    delay = delay_;
  }
  clock_.advance(delay);
  handler();
  return true;
}

}  // namespace vorrik::fake
