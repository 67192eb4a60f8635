// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>

#include "l10n/L.h"

namespace vorrik::L::catalogue {

// Every language lists the same keys in the same order; the array size makes a missing row a
// compile error.
inline constexpr std::size_t kKeyCount = 73;
using List = std::array<Entry, kKeyCount>;

extern const List en;
extern const List ht;
extern const List fr;
extern const List es;
extern const List pt;

}  // namespace vorrik::L::catalogue
