// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "platform/MainQueue.h"

namespace vorrik::bench {

// The benchmark's main thread as the engine's main queue: tasks posted from any thread run, in
// order, while the main thread sits in runUntil().
class MainThreadQueue final : public MainQueue {
 public:
  // With a poll period, posting wakes nobody: the main thread looks for tasks that often, as a
  // main thread that is told nothing per click would.
  explicit MainThreadQueue(std::chrono::milliseconds pollPeriod = {}) : pollPeriod_(pollPeriod) {}
  void post(std::function<void()> task) override;

  // Runs tasks as they arrive until done() holds after a task or deadline passes; whether done()
  // held. Call it only on the main thread.
  bool runUntil(const std::function<bool()>& done, std::chrono::steady_clock::time_point deadline);

 private:
  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<std::function<void()>> tasks_;
  std::chrono::milliseconds pollPeriod_;
};

}  // namespace vorrik::bench
