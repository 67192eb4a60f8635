// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/InputMonitor.h"

namespace vorrik::fake {

// Input monitors that fire only when the test presses; like the real ones, a monitor removed by
// an earlier handler of the same press is not called, and one added during a press waits for
// the next. Main thread only; where the keyboard is stays unknown, as where no display can tell.
class FakeInputMonitor final : public InputMonitor {
 public:
  std::optional<Handle> addKeyMonitor(std::function<void(Key)> handler) override {
    return handler ? std::optional(add(Monitor{std::move(handler), nullptr})) : std::nullopt;
  }
  std::optional<Handle> addLeftPressMonitor(std::function<void()> handler) override {
    return handler ? std::optional(add(Monitor{nullptr, std::move(handler)})) : std::nullopt;
  }
  void remove(Handle handle) override {
    removed_.push_back(handle);
    monitors_.erase(handle);
  }
  std::optional<bool> keyboardInThisProcess() override { return std::nullopt; }

  // A key press anywhere on the display.
  void pressKey(Key key) {
    press(true, [key](const Monitor& m) { m.onKey(key); });
  }
  // A left-button press anywhere on the display.
  void pressLeft() {
    press(false, [](const Monitor& m) { m.onLeftPress(); });
  }
  // Handles installed now, in the order they were added.
  [[nodiscard]] std::vector<Handle> keyMonitors() const { return live(true); }
  [[nodiscard]] std::vector<Handle> leftPressMonitors() const { return live(false); }
  // Every remove() call, in order.
  [[nodiscard]] const std::vector<Handle>& removed() const { return removed_; }

 private:
  struct Monitor {
    std::function<void(Key)> onKey;
    std::function<void()> onLeftPress;
  };
  Handle add(Monitor monitor) {
    monitors_.emplace(next_, std::make_shared<const Monitor>(std::move(monitor)));
    return next_++;
  }
  [[nodiscard]] std::vector<Handle> live(bool keys) const {
    std::vector<Handle> handles;
    for (const auto& [handle, monitor] : monitors_) {
      if (static_cast<bool>(monitor->onKey) == keys) {
        handles.push_back(handle);
      }
    }
    return handles;
  }
  template <typename Call>
  void press(bool keys, Call call) {
    for (const Handle handle : live(keys)) {
      const auto found = monitors_.find(handle);
      if (found != monitors_.end()) {
        const auto monitor = found->second;  // survives a handler that removes itself
        call(*monitor);
      }
    }
  }

  Handle next_ = 1;
  std::map<Handle, std::shared_ptr<const Monitor>> monitors_;
  std::vector<Handle> removed_;
};

}  // namespace vorrik::fake
