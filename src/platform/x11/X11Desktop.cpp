// SPDX-License-Identifier: MIT
#include "platform/x11/X11Desktop.h"

#include "platform/x11/X11Display.h"

#include "platform/qt/QtDesktop.h"
#include "platform/x11/X11Input.h"
#include "platform/x11/X11InputMonitor.h"
#include "platform/x11/X11PointPick.h"
#include "platform/x11/X11Window.h"

namespace vorrik::x11 {
namespace {

// The Qt services come first (the base); every X connection is its own.
class X11Desktop final : public qt::QtDesktop {
 public:
  explicit X11Desktop(bool wholeSession) : trust_(nullptr, wholeSession) {}

  AccessibilityTrust& trust() override { return trust_; }
  EventInjector& injector() override { return injector_; }
  PointPick& picker() override { return picker_; }
  InputMonitor* input() override { return &input_; }
  WindowSystem* windows() override { return &windows_; }

 private:
  X11Trust trust_;
  X11Injector injector_;
  X11InputMonitor input_;
  X11PointPick picker_{input_};
  X11WindowSystem windows_;
};

}  // namespace

std::optional<std::string> unfit(const Session& session) {
  if (session.display.empty()) {
    return "no X display (DISPLAY is not set)";
  }
  if (!openDisplay(session.display.c_str())) {
    return "the X display \"" + session.display + "\" does not open";
  }
  return std::nullopt;
}

bool reachesWholeSession(const Session& session) {
  // Chosen by name, the user accepts that only X11 applications get clicks (games under Wine,
  // for example); chosen as a fallback, it must not click into windows that ignore it.
  return !session.isWayland() || session.forcedBackend == "x11";
}

std::unique_ptr<Desktop> openDesktop(const Session& session) {
  return std::make_unique<X11Desktop>(reachesWholeSession(session));
}

}  // namespace vorrik::x11
