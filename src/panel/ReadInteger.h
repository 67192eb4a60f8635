// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vorrik {

// The value of a text that is exactly an optional "+" or "-" and one or more ASCII digits and
// fits a signed 64-bit integer; nothing for any other text (spaces, separators, units, other
// scripts' digits and out-of-range values included).
std::optional<std::int64_t> readInteger(std::string_view text);

}  // namespace vorrik
