// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <functional>
#include <optional>

#include "platform/ClickPoint.h"
#include "platform/InputMonitor.h"
#include "platform/Pointer.h"

class QWidget;

namespace vorrik::ui {

// Picks one click point at a time. Armed, it waits for the next left press: anywhere on the
// display (a global monitor) or on one of this application's own windows (an in-process filter
// that sees the press before the control under it does), whichever comes first. That press
// ends both, and the pick reports where the pointer is then. Escape typed into this
// application ends the pick with nothing.
class PointPicker : public QObject {
  Q_OBJECT

 public:
  // Told where a pick ended: the pointer's position, or nothing when there is no screen or the
  // pointer is on the excluded window.
  using Done = std::function<void(std::optional<ClickPoint>)>;

  // pointer and excluded must outlive the picker, input too unless it is null (then only
  // presses on this application's windows end a pick).
  PointPicker(Pointer& pointer, InputMonitor* input, const QWidget& excluded, Done done);
  ~PointPicker() override;
  PointPicker(const PointPicker&) = delete;
  PointPicker& operator=(const PointPicker&) = delete;

  // Ends a pending pick without a report and waits for the next press.
  void arm();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  // Removes the pending pick's monitor and filter, if any.
  void end();
  // Ends the pending pick and reports the pointer's position.
  void capture();

  Pointer& pointer_;
  InputMonitor* input_;
  const QWidget& excluded_;
  Done done_;
  // The display-wide monitor and the in-process filter: set together, cleared together.
  std::optional<InputMonitor::Handle> monitor_;
  bool filtering_ = false;
};

}  // namespace vorrik::ui
