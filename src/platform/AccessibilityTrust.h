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

// The consent dialog a desktop shows, for words that name what the user sees in it.
struct ConsentDialog {
  enum class Desktop { other, gnome, kde };
  Desktop desktop = Desktop::other;
  // Whether the dialog offers to remember the answer, so that later launches are not asked.
  bool remembers = false;
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
  // Whether a prompt would be granted without asking the user, as by a desktop that remembers
  // an earlier consent; the grant then arrives soon through the answer handler.
  [[nodiscard]] virtual bool remembersConsent() const { return false; }
  // Calls handler on the main thread with the outcome of each prompt (true: trusted now),
  // replacing the handler set before; where prompts are answered at once, never.
  // NOLINTNEXTLINE(performance-unnecessary-value-param)
  virtual void setAnswerHandler(std::function<void(bool)> /*handler*/) {}
  // The dialog a prompt opens, where the refusal is notAllowed.
  [[nodiscard]] virtual ConsentDialog consentDialog() const { return {}; }
};

}  // namespace vorrik
