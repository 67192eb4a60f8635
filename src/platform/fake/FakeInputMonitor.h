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

// Key monitors that fire only when the test presses; like the real ones, a monitor removed by an
// earlier handler of the same press is not called, and one added during a press waits for the
// next. Main thread only; where the keyboard is stays unknown, as where no display can tell.
class FakeInputMonitor final : public InputMonitor {
 public:
  std::optional<Handle> addKeyMonitor(std::function<void(Key)> handler) override {
    if (!handler) {
      return std::nullopt;
    }
    monitors_.emplace(next_, std::make_shared<const std::function<void(Key)>>(std::move(handler)));
    return next_++;
  }
  void remove(Handle handle) override { monitors_.erase(handle); }
  std::optional<bool> keyboardInThisProcess() override { return std::nullopt; }

  // A key press anywhere on the display.
  void pressKey(Key key) {
    for (const Handle handle : keyMonitors()) {
      const auto found = monitors_.find(handle);
      if (found != monitors_.end()) {
        const auto monitor = found->second;  // survives a handler that removes itself
        (*monitor)(key);
      }
    }
  }
  // Handles installed now, in the order they were added.
  [[nodiscard]] std::vector<Handle> keyMonitors() const {
    std::vector<Handle> handles;
    for (const auto& entry : monitors_) {
      handles.push_back(entry.first);
    }
    return handles;
  }

 private:
  Handle next_ = 1;
  std::map<Handle, std::shared_ptr<const std::function<void(Key)>>> monitors_;
};

}  // namespace vorrik::fake
