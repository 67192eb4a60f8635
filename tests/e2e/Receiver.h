// SPDX-License-Identifier: MIT
// A window of another X client for end-to-end tests. Include it after Qt's and GoogleTest's
// headers: Xlib defines macros (None, Bool) that clash with their names.
#pragma once

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <poll.h>

#include <chrono>
#include <vector>

#include "platform/ClickPoint.h"

namespace vorrik::e2e {

struct Button {
  bool press = false;
  unsigned button = 0;
  ClickPoint at;
  Time time = 0;  // server milliseconds
};

// Another X client's window that records the presses and releases it receives: by default an
// override-redirect window over the whole screen.
class Receiver {
 public:
  // width 0: the screen's width and height; screen -1: the display's default screen.
  explicit Receiver(int x = 0, int y = 0, int width = 0, int height = 0, int screen = -1)
      : display_(XOpenDisplay(nullptr)) {
    if (display_ == nullptr) {
      return;
    }
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.event_mask = ButtonPressMask | ButtonReleaseMask | StructureNotifyMask;
    if (screen < 0) {
      screen = DefaultScreen(display_);
    }
    if (width == 0) {
      width = DisplayWidth(display_, screen);
      height = DisplayHeight(display_, screen);
    }
    window_ =
        XCreateWindow(display_, RootWindow(display_, screen), x, y, static_cast<unsigned>(width),
                      static_cast<unsigned>(height), 0, CopyFromParent, InputOutput, CopyFromParent,
                      CWOverrideRedirect | CWEventMask, &attributes);
    XMapRaised(display_, window_);
    XEvent event{};
    do {
      XWindowEvent(display_, window_, StructureNotifyMask, &event);
    } while (event.type != MapNotify);
  }
  ~Receiver() {
    if (display_ != nullptr) {
      XCloseDisplay(display_);
    }
  }
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;

  [[nodiscard]] bool ready() const { return display_ != nullptr; }

  // Gives this window the keyboard, as a user's click on another application would.
  void focus() {
    XSetInputFocus(display_, window_, RevertToParent, CurrentTime);
    XSync(display_, False);
  }

  // Moves the pointer as xdotool's mousemove does: a warp, which no motion event reports.
  void warpPointer(int x, int y, int screen = -1) {
    XWarpPointer(display_, None,
                 screen < 0 ? DefaultRootWindow(display_) : RootWindow(display_, screen), 0, 0, 0,
                 0, x, y);
    XSync(display_, False);
  }

  // Where the pointer is, on whichever screen holds it.
  ClickPoint pointerAt() { return queryPointer().at; }
  // True while the core pointer's logical button 1 is down.
  bool leftDown() { return (queryPointer().mask & Button1Mask) != 0; }

  // Sets the core pointer map, as `xmodmap -e "pointer = ..."` does; buttons past the list keep
  // their own number. True once the server took it.
  bool mapButtons(std::vector<unsigned char> map) {
    std::vector<unsigned char> all(256);
    const int count = XGetPointerMapping(display_, all.data(), static_cast<int>(all.size()));
    for (int i = static_cast<int>(map.size()); i < count; ++i) {
      map.push_back(static_cast<unsigned char>(i + 1));
    }
    map.resize(static_cast<std::size_t>(count));
    const bool set = XSetPointerMapping(display_, map.data(), count) == MappingSuccess;
    XSync(display_, False);
    return set;
  }

  // Moves the pointer as a mouse would: absolutely, or by a distance from where it is.
  void movePointer(int x, int y, bool relative) {
    if (relative) {
      XTestFakeRelativeMotionEvent(display_, x, y, CurrentTime);
    } else {
      XTestFakeMotionEvent(display_, DefaultScreen(display_), x, y, CurrentTime);
    }
    XSync(display_, False);
  }

  // Presses and releases a key through XTEST, with Shift held when asked: a hand on the keyboard.
  void tapKey(KeySym symbol, bool shift = false) {
    const KeyCode code = XKeysymToKeycode(display_, symbol);
    const KeyCode shiftCode = XKeysymToKeycode(display_, XK_Shift_L);
    if (shift) {
      XTestFakeKeyEvent(display_, shiftCode, True, CurrentTime);
    }
    XTestFakeKeyEvent(display_, code, True, CurrentTime);
    XTestFakeKeyEvent(display_, code, False, CurrentTime);
    if (shift) {
      XTestFakeKeyEvent(display_, shiftCode, False, CurrentTime);
    }
    XSync(display_, False);
  }

  // A left click through XTEST wherever the pointer is.
  void clickLeft() {
    XTestFakeButtonEvent(display_, 1, True, CurrentTime);
    XTestFakeButtonEvent(display_, 1, False, CurrentTime);
    XSync(display_, False);
  }

  // Everything received so far, and whatever else arrives within settle.
  std::vector<Button> take(std::chrono::milliseconds settle) {
    const auto deadline = std::chrono::steady_clock::now() + settle;
    for (;;) {
      while (XPending(display_) > 0) {
        XEvent event{};
        XNextEvent(display_, &event);
        if (event.type == ButtonPress || event.type == ButtonRelease) {
          const XButtonEvent& b = event.xbutton;
          received_.push_back(
              {b.type == ButtonPress, b.button, {double(b.x_root), double(b.y_root)}, b.time});
        }
      }
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
          deadline - std::chrono::steady_clock::now());
      if (left <= std::chrono::milliseconds::zero()) {
        return received_;
      }
      pollfd fd{ConnectionNumber(display_), POLLIN, 0};
      poll(&fd, 1, static_cast<int>(left.count()));
    }
  }

  // The presses among what take(settle) returns.
  std::vector<Button> presses(std::chrono::milliseconds settle) {
    std::vector<Button> out;
    for (const Button& b : take(settle)) {
      if (b.press) {
        out.push_back(b);
      }
    }
    return out;
  }

 private:
  struct PointerState {
    ClickPoint at;
    unsigned mask = 0;
  };
  PointerState queryPointer() {
    Window root = 0;
    Window child = 0;
    int x = 0;
    int y = 0;
    int wx = 0;
    int wy = 0;
    unsigned mask = 0;
    XQueryPointer(display_, DefaultRootWindow(display_), &root, &child, &x, &y, &wx, &wy, &mask);
    return {{double(x), double(y)}, mask};
  }

  Display* display_;
  Window window_ = 0;
  std::vector<Button> received_;
};

}  // namespace vorrik::e2e
