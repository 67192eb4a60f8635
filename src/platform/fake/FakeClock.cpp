// SPDX-License-Identifier: MIT
#include "platform/fake/FakeClock.h"

#include <utility>

namespace vorrik::fake {

nanoseconds FakeClock::now() const {
  std::lock_guard lock(mutex_);
  return now_;
}

void FakeClock::advance(nanoseconds by) {
  std::lock_guard lock(mutex_);
  now_ += by;
}

}  // namespace vorrik::fake
