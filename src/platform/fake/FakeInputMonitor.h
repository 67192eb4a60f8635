// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "platform/InputMonitor.h"

namespace vorrik::fake {

// Input monitors that fire only when the test presses; like the real ones, a monitor removed by
// an earlier handler of the same press is not called, and one added during a press waits for
// the next. Main thread only.
class FakeInputMonitor final : public InputMonitor {
 public:
  std::optional<Handle> addKeyMonitor(std::function<void(Key)> handler) override;
  std::optional<Handle> addLeftPressMonitor(std::function<void()> handler) override;
  void remove(Handle handle) override;
  std::optional<bool> keyboardInThisProcess() override { return keyboardHere_; }

  // A key press anywhere on the display.
  void pressKey(Key key);
  // A left-button press anywhere on the display.
  void pressLeft();
  // false: later add...() calls give nothing, as without a display.
  void setAvailable(bool available) { available_ = available; }
  // What keyboardInThisProcess() answers; nothing (the default) as where no display can tell.
  void setKeyboardInThisProcess(std::optional<bool> here) { keyboardHere_ = here; }
  // Handles installed now, in the order they were added.
  [[nodiscard]] std::vector<Handle> keyMonitors() const;
  [[nodiscard]] std::vector<Handle> leftPressMonitors() const;
  // Every handle given out, and every remove() call, in order.
  [[nodiscard]] const std::vector<Handle>& installed() const { return installed_; }
  [[nodiscard]] const std::vector<Handle>& removed() const { return removed_; }

 private:
  struct Monitor {
    std::function<void(Key)> onKey;
    std::function<void()> onLeftPress;
  };
  [[nodiscard]] std::vector<Handle> live(bool keys) const;

  bool available_ = true;
  std::optional<bool> keyboardHere_;
  Handle next_ = 1;
  std::map<Handle, std::shared_ptr<const Monitor>> monitors_;
  std::vector<Handle> installed_;
  std::vector<Handle> removed_;
};

}  // namespace vorrik::fake
