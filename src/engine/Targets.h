// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "engine/ClickPoint.h"
#include "platform/RandomSource.h"

namespace vorrik {

// A rectangle in a y-up window-system space (origin bottom-left of the primary screen).
struct ScreenRect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  double maxY() const { return y + height; }
  // Half-open: holds its left and bottom edges, not its right and top ones.
  bool contains(double px, double py) const {
    return x <= px && px < x + width && y <= py && py < y + height;
  }
};

// Converts a y-up pointer position into click space against the top edge of the first screen
// holding it, else of the main screen; nothing when there is neither.
std::optional<ClickPoint> flipToClickSpace(double px, double py,
                                           std::span<const ScreenRect> screens,
                                           std::optional<ScreenRect> mainScreen);

// A uniform integer from -halfWidth to +halfWidth inclusive; halfWidth must be at least 1.
std::int64_t drawJitter(RandomSource& random, std::int64_t halfWidth);

}  // namespace vorrik
