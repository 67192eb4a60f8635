// SPDX-License-Identifier: MIT
#include "platform/portal/EisRegions.h"

#include <algorithm>
#include <cmath>

namespace vorrik::portal {

std::optional<ClickPoint> regionPoint(std::span<const EisRegion> regions, ClickPoint at,
                                      double xScale) {
  if (!std::isfinite(at.x) || !std::isfinite(at.y) || !std::isfinite(xScale) || xScale <= 0) {
    return std::nullopt;
  }
  const ClickPoint layout{std::round(at.x) / xScale, std::round(at.y) / xScale};
  // A region's right and bottom edges belong to its neighbour.
  const bool inside = std::any_of(regions.begin(), regions.end(), [&](const EisRegion& r) {
    return layout.x >= r.x && layout.x < r.x + r.width && layout.y >= r.y &&
           layout.y < r.y + r.height;
  });
  return inside ? std::optional(layout) : std::nullopt;
}

}  // namespace vorrik::portal
