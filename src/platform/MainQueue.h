// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace vorrik {

// The application's main thread as a serial task queue.
class MainQueue {
 public:
  virtual ~MainQueue() = default;
  // Queues task to run later on the main thread, after every task posted before it; any thread.
  virtual void post(std::function<void()> task) = 0;
};

}  // namespace vorrik
