// SPDX-License-Identifier: MIT
#include "platform/fake/FakeMainQueue.h"

#include <utility>

namespace vorrik::fake {

void FakeMainQueue::post(std::function<void()> task) {
  std::lock_guard lock(mutex_);
  tasks_.push_back(std::move(task));
}

int FakeMainQueue::drain() {
  int ran = 0;
  for (;;) {
    std::function<void()> task;
    {
      std::lock_guard lock(mutex_);
      if (tasks_.empty()) {
        return ran;
      }
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    task();
    ++ran;
  }
}

std::size_t FakeMainQueue::pending() const {
  std::lock_guard lock(mutex_);
  return tasks_.size();
}

}  // namespace vorrik::fake
