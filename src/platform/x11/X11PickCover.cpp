// SPDX-License-Identifier: MIT
#include "platform/x11/X11PickCover.h"

#include <QGuiApplication>
#include <QMetaObject>
#include <QScreen>
#include <QSocketNotifier>

#include <utility>

// Xlib last: its macros (None, Bool, Status...) must not reach the Qt headers.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/cursorfont.h>
#include <X11/keysym.h>

namespace vorrik::x11 {
namespace {

// The pick overlay's blue at the same light alpha, premultiplied as ARGB visuals expect.
constexpr unsigned long kTint[] = {40, 110, 220};
constexpr unsigned long kTintAlpha = 40;

unsigned long tintPixel(const XVisualInfo& visual) {
  const unsigned long masks[] = {visual.red_mask, visual.green_mask, visual.blue_mask};
  unsigned long pixel = 0;
  unsigned long alphaMask = 0xffffffffUL;
  for (int i = 0; i < 3; ++i) {
    // A full mask is 255 times its lowest bit: scaling by mask / 255 puts a byte in its place.
    pixel |= (kTint[i] * kTintAlpha / 255 * (masks[i] / 255)) & masks[i];
    alphaMask &= ~masks[i];
  }
  return pixel | (kTintAlpha * (alphaMask / 255) & alphaMask);
}

}  // namespace

std::unique_ptr<X11PickCover> X11PickCover::open(std::function<bool()> reachesEveryMonitor) {
  std::unique_ptr<X11PickCover> cover(new X11PickCover);
  cover->reachesEveryMonitor_ = std::move(reachesEveryMonitor);
  return cover->create() ? std::move(cover) : nullptr;
}

bool X11PickCover::create() {
  display_ = openDisplay(nullptr, [this] { lost_ = true; });
  Display* display = display_.get();
  XVisualInfo visual{};
  if (display == nullptr ||
      XMatchVisualInfo(display, DefaultScreen(display), 32, TrueColor, &visual) == 0) {
    return false;
  }
  const Window root = DefaultRootWindow(display);
  XSetWindowAttributes attributes{};
  attributes.override_redirect = True;
  attributes.background_pixel = tintPixel(visual);
  attributes.border_pixel = 0;  // a visual other than the root's needs both of these
  attributes.colormap = XCreateColormap(display, root, visual.visual, AllocNone);
  attributes.cursor = XCreateFontCursor(display, XC_crosshair);
  attributes.event_mask = ButtonPressMask | KeyPressMask | PointerMotionMask | EnterWindowMask;
  window_ = XCreateWindow(
      display, root, 0, 0, 1, 1, 0, visual.depth, InputOutput, visual.visual,
      CWOverrideRedirect | CWBackPixel | CWBorderPixel | CWColormap | CWCursor | CWEventMask,
      &attributes);
  XStoreName(display, window_, "Vorrik pick");
  XSync(display, False);
  notifier_ = std::make_unique<QSocketNotifier>(ConnectionNumber(display), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                   [this] { read(); });
  return !lost_;
}

X11PickCover::~X11PickCover() {
  // Closing the connection destroys the window and everything else made on it.
  notifier_.reset();
}

void X11PickCover::start(Done done) {
  cancel();
  if (lost_) {
    done(std::nullopt);
    return;
  }
  done_ = std::move(done);
  last_.reset();
  if (QScreen* primary = QGuiApplication::primaryScreen();
      primary != nullptr && !(reachesEveryMonitor_ && reachesEveryMonitor_())) {
    reachable_ = primary->geometry();
  }
  Display* display = display_.get();
  // The root's size now: outputs may have come and gone since the connection opened.
  const QSize root = rootSize();
  XMoveResizeWindow(display, window_, 0, 0, static_cast<unsigned>(root.width()),
                    static_cast<unsigned>(root.height()));
  XMapRaised(display, window_);
  XSync(display, False);
  // Best effort: Xwayland grants it only while it has the compositor's keyboard focus.
  XGrabKeyboard(display, window_, False, GrabModeAsync, GrabModeAsync, CurrentTime);
  XFlush(display);
  // Events the round trips read are queued already and would never wake the notifier.
  QMetaObject::invokeMethod(
      notifier_.get(), [this] { read(); }, Qt::QueuedConnection);
}

QSize X11PickCover::rootSize() const {
  XWindowAttributes root{};
  if (lost_ ||
      XGetWindowAttributes(display_.get(), DefaultRootWindow(display_.get()), &root) == 0) {
    return {};
  }
  return {root.width, root.height};
}

void X11PickCover::cancel() {
  done_ = nullptr;
  hide();
}

void X11PickCover::read() {
  Display* display = display_.get();
  while (!lost_ && XPending(display) > 0) {
    XEvent event;
    XNextEvent(display, &event);
    if (!done_) {
      continue;
    }
    if (event.type == MotionNotify) {
      seen(event.xmotion.x_root, event.xmotion.y_root);
    } else if (event.type == EnterNotify) {
      seen(event.xcrossing.x_root, event.xcrossing.y_root);
    } else if (event.type == ButtonPress && event.xbutton.button <= Button3) {
      // Buttons 4 and up are the wheel's steps: no pick, no cancel.
      seen(event.xbutton.x_root, event.xbutton.y_root);
      clicked(event.xbutton.button == Button1 ? last_ : std::nullopt);
    } else if (event.type == KeyPress && XLookupKeysym(&event.xkey, 0) == XK_Escape) {
      clicked(std::nullopt);
    }
  }
  if (lost_) {
    notifier_->setEnabled(false);
    clicked(std::nullopt);
  }
}

void X11PickCover::seen(int x, int y) {
  const bool off = reachable_ && !reachable_->contains(x, y);
  last_ = off ? std::nullopt
              : std::optional(ClickPoint{static_cast<double>(x), static_cast<double>(y)});
}

void X11PickCover::clicked(std::optional<ClickPoint> at) {
  const Done done = std::exchange(done_, nullptr);
  if (!done) {
    return;
  }
  hide();
  done(at);
}

void X11PickCover::hide() {
  reachable_.reset();
  if (!lost_) {
    XUngrabKeyboard(display_.get(), CurrentTime);
    XUnmapWindow(display_.get(), window_);
    XFlush(display_.get());
  }
}

}  // namespace vorrik::x11
