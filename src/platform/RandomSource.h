// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace vorrik {

// The system's cryptographically secure random numbers.
class RandomSource {
 public:
  virtual ~RandomSource() = default;
  // A uniform integer from 0 to upperBound - 1, every value equally likely; upperBound >= 1.
  virtual std::uint32_t uniform(std::uint32_t upperBound) = 0;
};

}  // namespace vorrik
