// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/ClickPoint.h"
#include "platform/InputMonitor.h"
#include "platform/Pointer.h"

namespace vorrik::wlroots {

// Point picking where clients cannot see the global pointer: while a left-press monitor is
// installed, a translucent window covers every output and takes the next click itself. The
// pointer half answers where that click landed, in output-layout pixels (the space the
// injector moves the pointer in). Escape or a right click cancels: the handler runs and the
// pointer answers nothing. Keys cannot be observed here, so addKeyMonitor gives nothing.
// Main thread only, once the QApplication exists.
class PickOverlay final : public InputMonitor, public Pointer {
 public:
  PickOverlay();
  ~PickOverlay() override;
  PickOverlay(const PickOverlay&) = delete;
  PickOverlay& operator=(const PickOverlay&) = delete;

  // Nothing: no global key is observable on Wayland.
  std::optional<Handle> addKeyMonitor(std::function<void(Key)> handler) override;
  // Covers every output until the next click, Escape or right click, then calls handler.
  std::optional<Handle> addLeftPressMonitor(std::function<void()> handler) override;
  void remove(Handle handle) override;

  // Where the last pick landed (or the pointer last was over the overlay); nothing after a
  // cancel or before any pick.
  std::optional<ClickPoint> position() override { return last_; }

  // Called by the cover windows.
  void seen(ClickPoint at) { last_ = at; }
  void clicked(std::optional<ClickPoint> at);

 private:
  void hide();

  std::vector<QPointer<QWidget>> covers_;
  std::function<void()> handler_;
  std::optional<Handle> active_;
  Handle next_ = 1;
  std::optional<ClickPoint> last_;
};

}  // namespace vorrik::wlroots
