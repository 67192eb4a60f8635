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

}  // namespace vorrik::portal
