// SPDX-License-Identifier: MIT
#pragma once

// Where a picked point lands among the regions of an EIS absolute pointer: one region per
// monitor, in the compositor's layout coordinates (logical pixels, any monitor's offset).

#include <optional>
#include <span>

#include "platform/ClickPoint.h"

namespace vorrik::portal {

struct EisRegion {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
};

// The layout point for a point in Xwayland's root pixels, where the root is the layout times
// xScale: 1, unless Xwayland scales natively, when it is the largest monitor scale rounded up.
// The pixel is taken whole, as a pick reports it. Nothing when the point is not a number or
// falls outside every region, or when xScale is not a positive number.
std::optional<ClickPoint> regionPoint(std::span<const EisRegion> regions, ClickPoint at,
                                      double xScale);

// Where the pointer passes on its way from one layout point to another on a different monitor:
// a point of the target's region, kCrossingDepth (at most half the region) in from the middle
// of the edge the two regions share, or the target region's centre when where the pointer is
// is unknown or no edge is shared. Nothing when both points are in one region or the target is
// in none. KDE Plasma (6.1 on, before absolute motion was let through) holds a pointer at a
// monitor's edge until it has pushed 100 px past it, and at a corner 2000 px: a jump from a
// corner of one monitor to the other stops on the edge, one from this point does not.
inline constexpr double kCrossingDepth = 250;
std::optional<ClickPoint> crossingPoint(std::span<const EisRegion> regions,
                                        std::optional<ClickPoint> from, ClickPoint to);

// How many of Xwayland's root pixels make one layout pixel, read from the root's size against the
// regions' bounding box: a whole factor that fits both sides, else 1 (so is an unknown root).
double rootScale(std::span<const EisRegion> regions, double rootWidth, double rootHeight);

}  // namespace vorrik::portal
