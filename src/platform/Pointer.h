// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "engine/ClickPoint.h"

namespace vorrik {

// The mouse pointer, as the click engine and point capture see it.
class Pointer {
 public:
  virtual ~Pointer() = default;
  // Where the pointer is now, in the space of posted events; nothing when no screen is attached.
  // Safe to call from any thread.
  virtual std::optional<ClickPoint> position() = 0;
};

}  // namespace vorrik
