// SPDX-License-Identifier: MIT
#pragma once

#include "platform/WindowSystem.h"

// Xlib's Display, without pulling Xlib's macros into every includer.
struct _XDisplay;  // NOLINT(bugprone-reserved-identifier): Xlib's own name

namespace vorrik::x11 {

// Talks to an EWMH/ICCCM window manager through the display of the running Qt application.
// Without an X11 display (offscreen or Wayland platforms) every call does nothing.
class X11WindowSystem final : public WindowSystem {
 public:
  // Uses the Qt application's X11 connection; create it after the QGuiApplication.
  X11WindowSystem();
  // Uses display, which must outlive this object; null makes every call a no-op.
  explicit X11WindowSystem(_XDisplay* display) : display_(display) {}

  void showOnAllWorkspaces(Window window) override;
  void setTakesKeyboard(Window window, bool takes) override;

 private:
  _XDisplay* display_ = nullptr;
};

}  // namespace vorrik::x11
