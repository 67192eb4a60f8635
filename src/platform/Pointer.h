// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "platform/ClickPoint.h"

namespace vorrik {

// The mouse pointer, as the click engine and point capture see it.
class Pointer {
 public:
  virtual ~Pointer() = default;
  // Where the pointer is now, in the space of posted events; nothing when no screen is attached.
  // Safe to call from any thread.
  virtual std::optional<ClickPoint> position() = 0;
  // The same, asked of the window system itself even where position() answers from what it
  // last saw: for rare main-thread questions such as where a pick ended, not the click path.
  virtual std::optional<ClickPoint> query() { return position(); }
};

}  // namespace vorrik
