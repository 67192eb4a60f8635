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

// How many of Xwayland's root pixels make one layout pixel, read from the root's size against the
// regions' bounding box: a whole factor that fits both sides, else 1 (so is an unknown root).
double rootScale(std::span<const EisRegion> regions, double rootWidth, double rootHeight);

}  // namespace vorrik::portal
