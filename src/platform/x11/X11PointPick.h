// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <optional>

#include "platform/PointPick.h"
#include "platform/x11/X11Display.h"
#include "platform/x11/X11InputMonitor.h"

namespace vorrik::x11 {

// Picking on a plain X11 session: the next left press anywhere on the display, or on one of this
// application's own windows (an in-process filter that sees the press before the control under
// it does), whichever comes first, ends the pick where the X pointer is then. A pick on one of
// this application's windows takes no point. Main thread only, once the QGuiApplication exists.
class X11PointPick final : public QObject, public PointPick {
 public:
  // presses must outlive the pick; the pointer is asked on a connection of its own.
  explicit X11PointPick(X11InputMonitor& presses);
  ~X11PointPick() override;
  X11PointPick(const X11PointPick&) = delete;
  X11PointPick& operator=(const X11PointPick&) = delete;
  X11PointPick(X11PointPick&&) = delete;
  X11PointPick& operator=(X11PointPick&&) = delete;

  void start(Done done) override;
  void cancel() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void capture();
  [[nodiscard]] std::optional<ClickPoint> pointer() const;

  X11InputMonitor& presses_;
  bool lost_ = false;  // before display_: its loss handler sets it
  DisplayPtr display_;
  Done done_;
  std::optional<InputMonitor::Handle> monitor_;
};

}  // namespace vorrik::x11
