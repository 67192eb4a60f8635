// SPDX-License-Identifier: MIT
#include "platform/portal/EisRegions.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vorrik::portal {
namespace {

// A region's right and bottom edges belong to its neighbour.
bool holds(const EisRegion& r, ClickPoint p) {
  return p.x >= r.x && p.x < r.x + r.width && p.y >= r.y && p.y < r.y + r.height;
}

const EisRegion* regionOf(std::span<const EisRegion> regions, ClickPoint p) {
  const auto found =
      std::find_if(regions.begin(), regions.end(), [&](const EisRegion& r) { return holds(r, p); });
  return found == regions.end() ? nullptr : &*found;
}

// The overlap of [a0, a1) and [b0, b1), if it has any length.
std::optional<std::pair<double, double>> overlap(double a0, double a1, double b0, double b1) {
  const double low = std::max(a0, b0);
  const double high = std::min(a1, b1);
  return high > low ? std::optional(std::pair{low, high}) : std::nullopt;
}

}  // namespace

std::optional<ClickPoint> regionPoint(std::span<const EisRegion> regions, ClickPoint at,
                                      double xScale) {
  if (!std::isfinite(at.x) || !std::isfinite(at.y) || !std::isfinite(xScale) || xScale <= 0) {
    return std::nullopt;
  }
  const ClickPoint layout{std::round(at.x) / xScale, std::round(at.y) / xScale};
  return regionOf(regions, layout) != nullptr ? std::optional(layout) : std::nullopt;
}

std::optional<ClickPoint> crossingPoint(std::span<const EisRegion> regions,
                                        std::optional<ClickPoint> from, ClickPoint to) {
  const EisRegion* target = regionOf(regions, to);
  if (target == nullptr) {
    return std::nullopt;
  }
  const EisRegion* source = from ? regionOf(regions, *from) : nullptr;
  if (source == target) {
    return std::nullopt;
  }
  const EisRegion& t = *target;
  const ClickPoint centre{t.x + t.width / 2, t.y + t.height / 2};
  if (source == nullptr) {
    return centre;
  }
  const EisRegion& s = *source;
  const double across = std::min(kCrossingDepth, t.width / 2);
  const double down = std::min(kCrossingDepth, t.height / 2);
  // Side by side: the shared edge is vertical.
  if (const auto ys = overlap(s.y, s.y + s.height, t.y, t.y + t.height)) {
    const double middle = (ys->first + ys->second) / 2;
    if (s.x + s.width == t.x) {
      return ClickPoint{t.x + across, middle};
    }
    if (t.x + t.width == s.x) {
      return ClickPoint{t.x + t.width - across, middle};
    }
  }
  // One above the other: the shared edge is horizontal.
  if (const auto xs = overlap(s.x, s.x + s.width, t.x, t.x + t.width)) {
    const double middle = (xs->first + xs->second) / 2;
    if (s.y + s.height == t.y) {
      return ClickPoint{middle, t.y + down};
    }
    if (t.y + t.height == s.y) {
      return ClickPoint{middle, t.y + t.height - down};
    }
  }
  return centre;
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
