// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace vorrik {

// Whether the system lets this process post input events.
class AccessibilityTrust {
 public:
  virtual ~AccessibilityTrust() = default;
  // True when posted clicks will reach other applications; with prompt, the system may ask the
  // user.
  virtual bool isTrusted(bool prompt) = 0;
  // Calls handler on the main thread whenever trust given earlier is taken back, replacing the
  // handler set before (an empty one clears it); where trust is never taken back, never.
  // By value, as the overrides keep it.
  // NOLINTNEXTLINE(performance-unnecessary-value-param)
  virtual void setRevokedHandler(std::function<void()> /*handler*/) {}
};

}  // namespace vorrik
