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
  std::uint32_t uniform(std::uint32_t upperBound) override;
  void script(std::vector<std::uint32_t> draws);

 private:
  std::mutex mutex_;
  std::deque<std::uint32_t> script_;
  std::mt19937 generator_{12345};
};

}  // namespace vorrik::fake
