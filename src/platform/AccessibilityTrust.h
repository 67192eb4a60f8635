// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace vorrik {

// Why posted clicks would not reach the applications of this session; each has its own texts.
enum class Refusal {
  // The display server takes no injected input (an X server without XTEST), or is gone.
  noInjection,
  // A Wayland session that no backend of this build serves: at most X11 applications, through
  // Xwayland, would receive clicks, and a global key is seen only while one of them has it.
  unsupportedWayland,
  // The desktop clicks only with the user's consent, which it has not given (yet), or has taken
  // back; asking again may get it.
  notAllowed,
};

// Whether the system lets this process post input events.
class AccessibilityTrust {
 public:
  virtual ~AccessibilityTrust() = default;
  // True when posted clicks will reach other applications; with prompt, the system may ask the
  // user.
  virtual bool isTrusted(bool prompt) = 0;
  // What a false answer of isTrusted means on this session.
  [[nodiscard]] virtual Refusal refusal() const { return Refusal::noInjection; }
  // Calls handler on the main thread whenever trust given earlier is taken back, replacing the
  // handler set before (an empty one clears it); where trust is never taken back, never.
  // By value, as the overrides keep it.
  // NOLINTNEXTLINE(performance-unnecessary-value-param)
  virtual void setRevokedHandler(std::function<void()> /*handler*/) {}
};

}  // namespace vorrik
