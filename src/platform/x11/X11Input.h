// SPDX-License-Identifier: MIT
#pragma once

// Clicks, the pointer and the injection check on an X11 display. Each object owns its own
// display connection, so the click worker and the main thread never share one.

#include <memory>
#include <optional>
#include <string>

#include "platform/AccessibilityTrust.h"
#include "platform/ClickPoint.h"
#include "platform/EventInjector.h"
#include "platform/Pointer.h"

namespace vorrik::x11 {

class Connection;
class MotionWatch;

// Posts button events with the XTest extension, moving the pointer to the target first.
// Meant for the click worker; a mutex keeps it correct from any other thread too.
class X11Injector final : public EventInjector {
 public:
  // Connects to displayName, or to $DISPLAY when it is null.
  explicit X11Injector(const char* displayName = nullptr);
  ~X11Injector() override;
  X11Injector(const X11Injector&) = delete;
  X11Injector& operator=(const X11Injector&) = delete;

  // Nothing when the display is gone or the point is not a finite X root position.
  std::optional<MouseEvent> make(MouseAction action, MouseButton button, ClickPoint at) override;
  // Moves the pointer to the event's point (rounded), presses or releases button 1 (left) or
  // 3 (right) and flushes; does nothing when the display is gone.
  void post(const MouseEvent& event) override;

  // True while the display connection is open and healthy.
  [[nodiscard]] bool connected() const;

 private:
  std::unique_ptr<Connection> connection_;
};

// The pointer position in root-window pixels of the default screen: top-left origin, y down,
// the same space the injector posts in. A pointer at rest is answered from the last query, so the
// click path makes no round trip to the server; a warp by another client that no motion follows
// goes unseen until the next motion. Thread-safe.
class X11Pointer final : public Pointer {
 public:
  // Connects to displayName, or to $DISPLAY when it is null.
  explicit X11Pointer(const char* displayName = nullptr);
  ~X11Pointer() override;
  X11Pointer(const X11Pointer&) = delete;
  X11Pointer& operator=(const X11Pointer&) = delete;

  // Nothing when the display is gone or the pointer is on another X screen.
  std::optional<ClickPoint> position() override;
  // Always a round trip, so a warp that no motion followed is seen too.
  std::optional<ClickPoint> query() override;

 private:
  std::unique_ptr<Connection> connection_;
  std::unique_ptr<MotionWatch> motion_;  // null without a display
  std::optional<ClickPoint> known_;      // guarded by the connection's lock
};

// On X11 any client may inject input once the XTEST extension is there; no prompt exists. An
// Xwayland server has XTEST too, but passes the clicks only to its own X11 clients, so on a
// Wayland session the display does not reach the whole session and nothing is trusted.
class X11Trust final : public AccessibilityTrust {
 public:
  // Connects to displayName, or to $DISPLAY when it is null, at each query; wholeSession false
  // for the Xwayland server of a Wayland session.
  explicit X11Trust(const char* displayName = nullptr, bool wholeSession = true);

  // True when the display reaches the whole session, opens and offers XTEST; prompt changes
  // nothing on X11.
  bool isTrusted(bool prompt) override;
  // unsupportedWayland for the Xwayland server of a Wayland session, else noInjection.
  [[nodiscard]] Refusal refusal() const override;

 private:
  std::optional<std::string> displayName_;
  bool wholeSession_;
};

}  // namespace vorrik::x11
