// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/InputMonitor.h"

namespace vorrik::x11 {

// Observes every key press and left-button press on the whole X display, those meant for other
// applications included, through XInput 2.2 raw events on a connection of its own. Nothing is
// grabbed or consumed. Create and use it on the main thread once the QCoreApplication exists:
// a QSocketNotifier on the connection runs every handler there, without polling.
//
// A monitor sees only presses that happen after it is installed (the install makes a round
// trip that first collects the earlier ones), so a handler that installs a monitor in reply
// to a press never sees that same press.
class X11InputMonitor final : public InputMonitor {
 public:
  // Connects to displayName, or to $DISPLAY when it is empty; without a display or without
  // XInput 2.2 every add...() gives nothing.
  explicit X11InputMonitor(const std::string& displayName = {});
  ~X11InputMonitor() override;
  X11InputMonitor(const X11InputMonitor&) = delete;
  X11InputMonitor& operator=(const X11InputMonitor&) = delete;
  X11InputMonitor(X11InputMonitor&&) = delete;
  X11InputMonitor& operator=(X11InputMonitor&&) = delete;

  // Whether the display and its XInput 2.2 raw events are there to watch.
  [[nodiscard]] bool available() const;

  // F6 is recognised by its keysym (level 1, group 1), so modifiers and key codes play no part.
  std::optional<Handle> addKeyMonitor(std::function<void(Key)> handler) override;
  // Calls handler on the main thread for every left-button press on the display, this
  // application's own windows included; a handle, or nothing. A left press is a press of
  // whichever physical button the core pointer mapping makes button 1, so a left-handed mapping
  // is honoured.
  std::optional<Handle> addLeftPressMonitor(std::function<void()> handler);
  void remove(Handle handle) override;
  // Asks the server for the input focus and compares it with this Qt application's top-level
  // windows; nothing without a display or a QGuiApplication.
  std::optional<bool> keyboardInThisProcess() override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace vorrik::x11
