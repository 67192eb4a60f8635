// SPDX-License-Identifier: MIT
#pragma once

namespace vorrik {

// Whether the system lets this process post input events.
class AccessibilityTrust {
 public:
  virtual ~AccessibilityTrust() = default;
  // True when posted clicks will reach other applications; with prompt, the system may ask the
  // user.
  virtual bool isTrusted(bool prompt) = 0;
};

}  // namespace vorrik
