// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>

#include "platform/ClickPoint.h"

namespace vorrik {

// Lets the user show one click point with the mouse, on whatever surface the desktop offers for
// it. Main thread only.
class PointPick {
 public:
  // Where the pick landed, in the space the injector posts in; nothing when the user cancelled
  // or the point is one the desktop refuses (this application's own windows, a place the
  // injector cannot reach).
  using Done = std::function<void(std::optional<ClickPoint>)>;

  virtual ~PointPick() = default;
  // Waits for the user's next click and calls done once with its point; a pending pick ends
  // first, without a call.
  virtual void start(Done done) = 0;
  // Ends a pending pick without calling its done; nothing happens when none is pending.
  virtual void cancel() = 0;
};

}  // namespace vorrik
