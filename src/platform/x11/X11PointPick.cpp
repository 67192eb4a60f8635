// SPDX-License-Identifier: MIT
#include "platform/x11/X11PointPick.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPointer>
#include <QWindow>

#include <algorithm>
#include <utility>

// Xlib last: its macros (None, Bool, Status...) must not reach the Qt headers.
#include <X11/Xlib.h>

namespace vorrik::x11 {

X11PointPick::X11PointPick(X11InputMonitor& presses)
    : presses_(presses), display_(openDisplay(nullptr, [this] { lost_ = true; })) {}

X11PointPick::~X11PointPick() {
  cancel();
}

void X11PointPick::start(Done done) {
  cancel();
  done_ = std::move(done);
  QPointer<X11PointPick> self(this);
  monitor_ = presses_.addLeftPressMonitor([self] {
    if (self) {
      self->capture();
    }
  });
  // The in-process twin: a press on one of this application's windows ends the pick before the
  // press reaches the control under it, whatever order the display reports it in.
  qApp->installEventFilter(this);
}

void X11PointPick::cancel() {
  if (monitor_) {
    presses_.remove(*monitor_);
    monitor_.reset();
  }
  if (done_) {
    qApp->removeEventFilter(this);
    done_ = nullptr;
  }
}

void X11PointPick::capture() {
  // Where the pointer is now, not where the press was reported: the same space clicks use.
  std::optional<ClickPoint> at = pointer();
  const Done done = done_;
  cancel();
  if (at) {
    // Frames in device pixels, the pointer's unit, with the right and bottom edges outside.
    const QWindowList windows = QGuiApplication::topLevelWindows();
    const bool own = std::any_of(windows.begin(), windows.end(), [&](const QWindow* window) {
      if (!window->isVisible()) {
        return false;
      }
      const qreal ratio = window->devicePixelRatio();
      const QRect geometry = window->frameGeometry();
      const QRectF frame(QPointF(geometry.topLeft()) * ratio, QSizeF(geometry.size()) * ratio);
      return at->x >= frame.left() && at->x < frame.left() + frame.width() &&
             at->y >= frame.top() && at->y < frame.top() + frame.height();
    });
    if (own) {
      at.reset();
    }
  }
  if (done) {
    done(at);
  }
}

std::optional<ClickPoint> X11PointPick::pointer() const {
  Display* display = display_.get();
  if (display == nullptr || lost_) {
    return std::nullopt;
  }
  Window root = 0;
  Window child = 0;
  int rootX = 0;
  int rootY = 0;
  int windowX = 0;
  int windowY = 0;
  unsigned mask = 0;
  // False while the pointer is on another X screen: clicks go to the default one.
  if (XQueryPointer(display, DefaultRootWindow(display), &root, &child, &rootX, &rootY, &windowX,
                    &windowY, &mask) != True) {
    return std::nullopt;
  }
  return ClickPoint{static_cast<double>(rootX), static_cast<double>(rootY)};
}

bool X11PointPick::eventFilter(QObject* watched, QEvent* event) {
  // Installed on the application while a pick is pending; the press goes on afterwards.
  if (done_ && event->type() == QEvent::MouseButtonPress &&
      static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
    capture();
  }
  return QObject::eventFilter(watched, event);
}

}  // namespace vorrik::x11
