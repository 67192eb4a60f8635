// SPDX-License-Identifier: MIT
#include "platform/fake/FakeSleeper.h"

#include <utility>

namespace vorrik::fake {

void FakeSleeper::sleepFor(microseconds duration) {
  {
    std::lock_guard lock(mutex_);
    sleeps_.push_back(duration);
  }
  clock_.advance(duration);
}

std::vector<microseconds> FakeSleeper::sleeps() const {
  std::lock_guard lock(mutex_);
  return sleeps_;
}

}  // namespace vorrik::fake
