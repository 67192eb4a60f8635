// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>

#include "platform/MainQueue.h"

namespace vorrik::fake {

// A main queue that runs its tasks only when the test drains it.
class FakeMainQueue final : public MainQueue {
 public:
  void post(std::function<void()> task) override;
  // Runs queued tasks, including those they post, until none is left; returns how many ran.
  int drain();
  std::size_t pending() const;

 private:
  mutable std::mutex mutex_;
  std::deque<std::function<void()>> tasks_;
};

}  // namespace vorrik::fake
