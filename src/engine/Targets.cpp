// SPDX-License-Identifier: MIT
#include "engine/Targets.h"

#include <algorithm>
#include <limits>

namespace vorrik {

std::int64_t drawJitter(RandomSource& random, std::int64_t halfWidth) {
  // 2j + 1 results must fit the source's 32-bit range; real settings stay far below this.
  constexpr std::int64_t kMaxHalfWidth = (std::numeric_limits<std::uint32_t>::max() - 1) / 2;
  const std::int64_t j = std::clamp<std::int64_t>(halfWidth, 1, kMaxHalfWidth);
  const auto n = static_cast<std::uint32_t>(2 * j + 1);
  return static_cast<std::int64_t>(random.uniform(n)) - j;
}

}  // namespace vorrik
