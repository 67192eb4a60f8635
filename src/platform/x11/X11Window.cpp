// SPDX-License-Identifier: MIT
#include "platform/x11/X11Window.h"

#include <QGuiApplication>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <vector>

namespace vorrik::x11 {
namespace {

// _NET_WM_DESKTOP value meaning "every desktop".
constexpr unsigned long kAllDesktops = 0xFFFFFFFFUL;
// _NET_WM_STATE client-message action.
constexpr long kStateAdd = 1;
// Source indication: a normal application.
constexpr long kSourceApplication = 1;

bool isMapped(Display* display, ::Window window) {
  XWindowAttributes attributes{};
  return XGetWindowAttributes(display, window, &attributes) != 0 &&
         attributes.map_state != IsUnmapped;
}

// Whether an EWMH window manager runs; without one nobody else maintains the window's state.
bool hasWindowManager(Display* display) {
  const Atom check = XInternAtom(display, "_NET_SUPPORTING_WM_CHECK", False);
  Atom type = None;
  int format = 0;
  unsigned long count = 0;
  unsigned long after = 0;
  unsigned char* data = nullptr;
  const bool found =
      XGetWindowProperty(display, DefaultRootWindow(display), check, 0, 1, False, XA_WINDOW, &type,
                         &format, &count, &after, &data) == Success &&
      type == XA_WINDOW && count == 1;
  if (data != nullptr) {
    XFree(data);
  }
  return found;
}

std::vector<Atom> atomList(Display* display, ::Window window, Atom property) {
  Atom type = None;
  int format = 0;
  unsigned long count = 0;
  unsigned long after = 0;
  unsigned char* data = nullptr;
  std::vector<Atom> atoms;
  if (XGetWindowProperty(display, window, property, 0, 1024, False, XA_ATOM, &type, &format, &count,
                         &after, &data) == Success &&
      type == XA_ATOM && format == 32 && data != nullptr) {
    // Xlib returns 32-bit properties as an array of long.
    const auto* values = reinterpret_cast<const Atom*>(data);
    atoms.assign(values, values + count);
  }
  if (data != nullptr) {
    XFree(data);
  }
  return atoms;
}

void sendToRoot(Display* display, ::Window window, Atom message, long first, long second,
                long third) {
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = window;
  event.xclient.message_type = message;
  event.xclient.format = 32;
  event.xclient.data.l[0] = first;
  event.xclient.data.l[1] = second;
  event.xclient.data.l[2] = third;
  event.xclient.data.l[3] = kSourceApplication;
  XSendEvent(display, DefaultRootWindow(display), False,
             SubstructureRedirectMask | SubstructureNotifyMask, &event);
}

}  // namespace

X11WindowSystem::X11WindowSystem() {
  if (auto* x11 = qGuiApp == nullptr
                      ? nullptr
                      : qGuiApp->nativeInterface<QNativeInterface::QX11Application>()) {
    display_ = x11->display();
  }
}

void X11WindowSystem::showOnAllWorkspaces(Window window) {
  if (display_ == nullptr || window == 0) {
    return;
  }
  Display* display = display_;
  const auto id = static_cast<::Window>(window);
  const Atom state = XInternAtom(display, "_NET_WM_STATE", False);
  const Atom sticky = XInternAtom(display, "_NET_WM_STATE_STICKY", False);
  const Atom desktop = XInternAtom(display, "_NET_WM_DESKTOP", False);

  // A mapped window belongs to the window manager, which takes requests as client messages;
  // an unmapped one carries its wishes as properties, read when it is mapped.
  if (isMapped(display, id)) {
    sendToRoot(display, id, state, kStateAdd, static_cast<long>(sticky), 0);
    sendToRoot(display, id, desktop, static_cast<long>(kAllDesktops), kSourceApplication, 0);
  }
  if (!isMapped(display, id) || !hasWindowManager(display)) {
    std::vector<Atom> atoms = atomList(display, id, state);
    if (std::find(atoms.begin(), atoms.end(), sticky) == atoms.end()) {
      atoms.push_back(sticky);
    }
    XChangeProperty(display, id, state, XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(atoms.data()),
                    static_cast<int>(atoms.size()));
    const unsigned long all = kAllDesktops;
    XChangeProperty(display, id, desktop, XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&all), 1);
  }
  XFlush(display);
}

void X11WindowSystem::setTakesKeyboard(Window window, bool takes) {
  if (display_ == nullptr || window == 0) {
    return;
  }
  const auto id = static_cast<::Window>(window);
  XWMHints* hints = XGetWMHints(display_, id);
  XWMHints fresh{};
  XWMHints* target = hints != nullptr ? hints : &fresh;
  target->flags |= InputHint;
  target->input = takes ? True : False;
  XSetWMHints(display_, id, target);
  if (hints != nullptr) {
    XFree(hints);
  }
  XFlush(display_);
}

}  // namespace vorrik::x11
