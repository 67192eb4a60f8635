// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

namespace vorrik {

// A re-armable one-shot timer whose handler runs on the timer's own worker thread.
class OneShotTimer {
 public:
  using Handler = std::function<void()>;
  virtual ~OneShotTimer() = default;
  // Arms handler to run once, delay from now on the monotonic clock, replacing any armed handler.
  virtual void arm(std::chrono::nanoseconds delay, Handler handler) = 0;
  // Disarms the pending handler so that it never runs; a handler already running finishes.
  virtual void cancel() = 0;
};

}  // namespace vorrik
