// SPDX-License-Identifier: MIT
#include "panel/ReadInteger.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace vorrik {

std::optional<std::int64_t> readInteger(std::string_view text) {
  // from_chars takes "-" but not "+", so the "+" is dropped once the rest is known to be digits.
  const bool plus = text.starts_with('+');
  const std::string_view digits = text.substr(plus || text.starts_with('-') ? 1 : 0);
  if (digits.empty() ||
      !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
    return std::nullopt;
  }
  const std::string_view number = plus ? digits : text;
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (error != std::errc{} || end != number.data() + number.size()) {
    return std::nullopt;
  }
  return value;
}

}  // namespace vorrik
