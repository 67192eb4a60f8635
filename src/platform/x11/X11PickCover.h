// SPDX-License-Identifier: MIT
#pragma once

#include <QRect>
#include <QSize>

#include <functional>
#include <memory>
#include <optional>

#include "platform/ClickPoint.h"
#include "platform/PointPick.h"
#include "platform/x11/X11Display.h"

class QSocketNotifier;

namespace vorrik::x11 {

// Point picking through Xwayland on a Wayland desktop: while a pick is pending, a translucent
// override-redirect window covers the whole X root and takes the next click itself. The
// compositor draws it over everything with its alpha, so the desktop shows through the tint,
// and X reports exact root coordinates, which are the desktop's layout pixels (at scale 1).
// Escape (where the keyboard can be grabbed), a right or middle click, or a click off the
// primary screen, which the injector cannot reach, ends the pick with nothing. Main thread
// only, once the QGuiApplication exists.
class X11PickCover final : public PointPick {
 public:
  // A cover on $DISPLAY, or null when no X display opens there or it has no 32-bit visual.
  // reachesEveryMonitor, asked at each pick, says whether the clicks reach every monitor, so
  // that a pick anywhere on the root takes its point; without it only the primary screen's do.
  static std::unique_ptr<X11PickCover> open(std::function<bool()> reachesEveryMonitor = {});
  ~X11PickCover() override;
  X11PickCover(const X11PickCover&) = delete;
  X11PickCover& operator=(const X11PickCover&) = delete;
  X11PickCover(X11PickCover&&) = delete;
  X11PickCover& operator=(X11PickCover&&) = delete;

  // Covers the X root until the next click or Escape.
  void start(Done done) override;
  void cancel() override;
  // The X root's size in pixels now, the space of the picked points; asks the server.
  [[nodiscard]] QSize rootSize() const;

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
  std::function<bool()> reachesEveryMonitor_;
  Done done_;
  // Where the pointer last was over the cover, while a pick is pending.
  std::optional<ClickPoint> last_;
};

}  // namespace vorrik::x11
