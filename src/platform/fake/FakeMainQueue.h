// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

#include "platform/MainQueue.h"

namespace vorrik::fake {

// A main queue that runs its tasks only when the test drains it.
class FakeMainQueue final : public MainQueue {
 public:
  void post(std::function<void()> task) override {
    std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  // Runs queued tasks, including those they post, until none is left.
  void drain() {
    for (;;) {
      std::unique_lock lock(mutex_);
      if (tasks_.empty()) {
        return;
      }
      const auto task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      task();
    }
  }
  std::size_t pending() const {
    std::lock_guard lock(mutex_);
    return tasks_.size();
  }

 private:
  mutable std::mutex mutex_;
  std::deque<std::function<void()>> tasks_;
};

}  // namespace vorrik::fake
