// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "platform/RandomSource.h"

namespace vorrik {

// A uniform integer from -halfWidth to +halfWidth inclusive; halfWidth must be at least 1.
std::int64_t drawJitter(RandomSource& random, std::int64_t halfWidth);

}  // namespace vorrik
