// SPDX-License-Identifier: MIT
#pragma once

// Clicks through the compositor's EIS server, reached through the remote-desktop session's
// ConnectToEIS: events go straight to the compositor, framed, with no answer to wait for.

#include <QString>

#include <functional>
#include <memory>
#include <optional>

#include "platform/ClickPoint.h"

namespace vorrik::portal {

class EisPointer {
 public:
  // Told on the main thread, at most once each: ready when the pointer may click, lost when the
  // connection or its devices went away (with the reason, for the log).
  struct Handlers {
    std::function<void()> ready;
    std::function<void(const QString&)> lost;
  };

  // Whether this build can click through EIS at all.
  static bool builtIn();
  // A sender on the EIS socket fd, which it takes; nothing without libei or when the context
  // cannot be set up (fd is then closed). Main thread.
  static std::shared_ptr<EisPointer> open(int fd, Handlers handlers);

  EisPointer() = default;
  virtual ~EisPointer() = default;
  EisPointer(const EisPointer&) = delete;
  EisPointer& operator=(const EisPointer&) = delete;

  // Whether the devices take events now; any thread.
  [[nodiscard]] virtual bool ready() const = 0;
  // The layout point a picked point in Xwayland's root pixels lands on, or nothing when it is
  // off every monitor. The root's size (empty: points are layout pixels already) tells whether
  // Xwayland scales natively. Any thread.
  [[nodiscard]] virtual std::optional<ClickPoint> reach(ClickPoint at, double rootWidth,
                                                        double rootHeight) const = 0;
  // Moves the pointer to a layout point; false when it could not be sent. Any thread.
  virtual bool moveTo(ClickPoint layout) = 0;
  // Presses or releases an evdev button where the pointer is; false when it could not be sent.
  // Any thread.
  virtual bool button(int evdevButton, bool pressed) = 0;
  // Ends the connection and stops watching it, releasing nothing more. Main thread; the
  // object may then be dropped on any thread.
  virtual void close() = 0;
};

}  // namespace vorrik::portal
