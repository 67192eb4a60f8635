// SPDX-License-Identifier: MIT
#include "MainThreadQueue.h"

#include <utility>

namespace vorrik::bench {

void MainThreadQueue::post(std::function<void()> task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  if (pollPeriod_.count() == 0) {
    posted_.notify_one();
  }
}

bool MainThreadQueue::runUntil(const std::function<bool()>& done,
                               std::chrono::steady_clock::time_point deadline) {
  while (!done()) {
    std::function<void()> task;
    {
      std::unique_lock lock(mutex_);
      if (pollPeriod_.count() > 0) {
        while (tasks_.empty() && std::chrono::steady_clock::now() < deadline) {
          posted_.wait_for(lock, pollPeriod_);
        }
      }
      if (!posted_.wait_until(lock, deadline, [&] { return !tasks_.empty(); })) {
        return done();
      }
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    // Outside the lock: a task may post further tasks.
    task();
  }
  return true;
}

}  // namespace vorrik::bench
