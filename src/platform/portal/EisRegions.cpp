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

double rootScale(std::span<const EisRegion> regions, double rootWidth, double rootHeight) {
  if (regions.empty()) {
    return 1;
  }
  double left = regions.front().x;
  double top = regions.front().y;
  double right = left;
  double bottom = top;
  for (const EisRegion& r : regions) {
    left = std::min(left, r.x);
    top = std::min(top, r.y);
    right = std::max(right, r.x + r.width);
    bottom = std::max(bottom, r.y + r.height);
  }
  if (right <= left || bottom <= top || !(rootWidth > 0) || !(rootHeight > 0)) {
    return 1;
  }
  const double scale = rootWidth / (right - left);
  return scale >= 1 && scale == std::floor(scale) && rootHeight == scale * (bottom - top) ? scale
                                                                                          : 1;
}

}  // namespace vorrik::portal
