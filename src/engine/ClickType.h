// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace vorrik {

// The kind of click posted on each tick. `double` is a C++ keyword, hence `double_`.
enum class ClickType { left, right, double_ };

inline constexpr std::array<ClickType, 3> allClickTypes{ClickType::left, ClickType::right,
                                                        ClickType::double_};

// The raw value: "left", "right" or "double".
std::string_view rawValue(ClickType type);

// The case with that raw value, or nothing for any other string.
std::optional<ClickType> clickTypeFromRaw(std::string_view raw);

}  // namespace vorrik
