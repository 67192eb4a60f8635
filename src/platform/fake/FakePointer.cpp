// SPDX-License-Identifier: MIT
#include "platform/fake/FakePointer.h"

#include <utility>

namespace vorrik::fake {

std::optional<ClickPoint> FakePointer::position() {
  std::lock_guard lock(mutex_);
  return where_;
}

void FakePointer::moveTo(std::optional<ClickPoint> where) {
  std::lock_guard lock(mutex_);
  where_ = where;
}

}  // namespace vorrik::fake
