// SPDX-License-Identifier: MIT
#pragma once

// Clicks and the injection check on an X11 display. Each object owns its own
// display connection, so the click worker and the main thread never share one.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/AccessibilityTrust.h"
#include "platform/ClickPoint.h"
#include "platform/EventInjector.h"

// Xlib's Display, without pulling Xlib's macros into every includer.
struct _XDisplay;  // NOLINT(bugprone-reserved-identifier): Xlib's own name

namespace vorrik::x11 {

class Connection;

// Posts button events with the XTest extension: at a point, after moving the pointer there, or
// at the pointer without moving it. Points are root positions of the display's default screen, so
// a run with points brings the pointer to that screen; clicks at the pointer land on whichever
// screen holds it. Meant for the click worker; a mutex keeps it correct from any other thread too.
class X11Injector final : public EventInjector {
 public:
  // Connects to displayName, or to $DISPLAY when it is null.
  explicit X11Injector(const char* displayName = nullptr);
  ~X11Injector() override;
  X11Injector(const X11Injector&) = delete;
  X11Injector& operator=(const X11Injector&) = delete;

  // False when the display is gone or the point is not a finite X root position. Each event
  // moves the pointer to the point (rounded) if there is one, then presses or releases the
  // physical button that the core pointer map makes logical 1 (left) or 3 (right), and flushes.
  // A press whose hold the pacing leaves to the system goes out with its release, which the
  // server makes after the hold on its own; destroying the injector waits for it.
  bool click(MouseButton button, std::optional<ClickPoint> at, int count,
             ClickPacing& pacing) override;

  // A round trip: the server answers once it has made every release it still holds.
  void settle() override;

  // True while the display connection is open and healthy.
  [[nodiscard]] bool connected() const;

 private:
  // The physical button the pointer map turns into logical, after taking in any change of the
  // map.
  unsigned physicalButton(_XDisplay* display, unsigned char logical);

  std::unique_ptr<Connection> connection_;
  std::vector<unsigned char> buttonMap_;  // guarded by the connection's lock; empty: read it
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
