// SPDX-License-Identifier: MIT
#pragma once

namespace vorrik {

// A click target in the space of posted events: origin top-left of the primary screen, y down.
struct ClickPoint {
  double x = 0;
  double y = 0;
  friend bool operator==(const ClickPoint&, const ClickPoint&) = default;
};

}  // namespace vorrik
