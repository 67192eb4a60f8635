// SPDX-License-Identifier: MIT
#pragma once

#include <QRect>

#include <functional>
#include <memory>
#include <optional>

#include "platform/ClickPoint.h"
#include "platform/InputMonitor.h"
#include "platform/Pointer.h"
#include "platform/x11/X11Display.h"

class QSocketNotifier;

namespace vorrik::x11 {

// Point picking through Xwayland on a Wayland desktop: while a left-press monitor is installed,
// a translucent override-redirect window covers the whole X root and takes the next click
// itself. The compositor draws it over everything with its alpha, so the desktop shows through
// the tint, and X reports exact root coordinates, which are the desktop's layout pixels (at
// scale 1). The pointer half answers where that click landed (or where the pointer last was
// over the cover); Escape (where the keyboard can be grabbed), a right or middle click, or a
// click off the primary screen, which the injector cannot reach, cancels: the handler runs and
// the pointer answers nothing. Keys are not observed: addKeyMonitor gives nothing. Main thread
// only, once the QGuiApplication exists.
class X11PickCover final : public InputMonitor, public Pointer {
 public:
  // A cover on $DISPLAY, or null when no X display opens there or it has no 32-bit visual.
  static std::unique_ptr<X11PickCover> open();
  ~X11PickCover() override;
  X11PickCover(const X11PickCover&) = delete;
  X11PickCover& operator=(const X11PickCover&) = delete;
  X11PickCover(X11PickCover&&) = delete;
  X11PickCover& operator=(X11PickCover&&) = delete;

  // Nothing: keys are not observed here.
  std::optional<Handle> addKeyMonitor(std::function<void(Key)> handler) override;
  // Covers the X root until the next click or Escape, then calls handler once.
  std::optional<Handle> addLeftPressMonitor(std::function<void()> handler) override;
  void remove(Handle handle) override;

  // Where the last pick landed (or, while one is pending, the pointer last was over the cover);
  // nothing after a cancel or before any pick.
  std::optional<ClickPoint> position() override { return last_; }
  // Asked at each pick: whether the clicks reach every monitor, so that a pick anywhere on the
  // root takes its point; else only the primary screen's picks do.
  std::function<bool()> reachesEveryMonitor;

 private:
  X11PickCover() = default;
  bool create();
  void read();
  void seen(int x, int y);
  void clicked(std::optional<ClickPoint> at);
  void hide();

  DisplayPtr display_;
  std::unique_ptr<QSocketNotifier> notifier_;
  unsigned long window_ = 0;  // Xlib's Window
  bool lost_ = false;
  std::optional<QRect> reachable_;
  std::function<void()> handler_;
  std::optional<Handle> active_;
  Handle next_ = 1;
  std::optional<ClickPoint> last_;
};

}  // namespace vorrik::x11
