// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <random>
#include <vector>

#include "platform/RandomSource.h"

namespace vorrik::fake {

// Replays scripted draws, then a fixed-seed generator.
class FakeRandom final : public RandomSource {
 public:
  std::uint32_t uniform(std::uint32_t upperBound) override {
    std::lock_guard lock(mutex_);
    if (script_.empty()) {
      return std::uniform_int_distribution<std::uint32_t>(0, upperBound - 1)(generator_);
    }
    const std::uint32_t draw = script_.front();
    script_.pop_front();
    return draw % upperBound;
  }
  void script(const std::vector<std::uint32_t>& draws) {
    std::lock_guard lock(mutex_);
    script_.assign(draws.begin(), draws.end());
  }

 private:
  std::mutex mutex_;
  std::deque<std::uint32_t> script_;
  std::mt19937 generator_{12345};
};

}  // namespace vorrik::fake
