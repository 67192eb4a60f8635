// SPDX-License-Identifier: MIT
#include "platform/fake/FakeRandom.h"

#include <utility>

namespace vorrik::fake {

std::uint32_t FakeRandom::uniform(std::uint32_t upperBound) {
  std::lock_guard lock(mutex_);
  if (!script_.empty()) {
    const std::uint32_t draw = script_.front();
    script_.pop_front();
    return draw % upperBound;
  }
  return std::uniform_int_distribution<std::uint32_t>(0, upperBound - 1)(generator_);
}

void FakeRandom::script(std::vector<std::uint32_t> draws) {
  std::lock_guard lock(mutex_);
  script_.assign(draws.begin(), draws.end());
}

}  // namespace vorrik::fake
